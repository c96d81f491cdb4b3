#include "NimbrelHost/Scene/Scene.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "NimbrelHost/Scene/AnimationJson.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {
namespace {

constexpr int kMaxDimension = 30000;  // of the host's worlds
constexpr int kMaxDownsample = 64;
// Frames are numbered and times kept in 32 bits.
constexpr double kMaxDuration = 3 * 3600;
// Parents are followed one in the other, and each expression sees every layer.
constexpr std::size_t kMaxNulls = 1000;

Composition ReadComposition(const JsonView& view) {
    view.RequireObject({"width", "height", "frameRate", "duration", "bitsPerChannel", "downsample"});
    Composition composition;
    if (view.Has("width")) composition.mWidth = ReadDimension(view.Member("width"));
    if (view.Has("height")) composition.mHeight = ReadDimension(view.Member("height"));
    if (view.Has("frameRate")) composition.mFrameRate = ReadFrameRate(view.Member("frameRate"));
    if (view.Has("duration")) composition.mDuration = view.Member("duration").NumberBetween(0, kMaxDuration);
    if (view.Has("bitsPerChannel")) composition.mBitsPerChannel = ReadBitsPerChannel(view.Member("bitsPerChannel"));
    if (view.Has("downsample")) composition.mDownsample = ReadDownsample(view.Member("downsample"));
    return composition;
}

// The host's own limits of a layer's time.
LayerPlacement ReadLayer(const JsonView& view) {
    constexpr double maxStretch = 9900;
    view.RequireObject({"start", "stretch", "width", "height"});
    LayerPlacement layer;
    if (view.Has("start")) layer.mStart = view.Member("start").NumberBetween(-kMaxDuration, kMaxDuration);
    if (view.Has("stretch")) {
        layer.mStretch = view.Member("stretch").NumberBetween(-maxStretch, maxStretch);
        if (std::abs(layer.mStretch) < 1) view.Member("stretch").Fail("a percentage of at least 1, or at most -1");
    }
    if (view.Has("width")) layer.mWidth = ReadDimension(view.Member("width"));
    if (view.Has("height")) layer.mHeight = ReadDimension(view.Member("height"));
    return layer;
}

double ReadZoom(const JsonView& view) {
    const double zoom = view.Number("a zoom in pixels, above 0");
    if (!(zoom > 0)) view.Fail("a zoom in pixels, above 0");
    return zoom;
}

Camera ReadCamera(const JsonView& view, const Composition& composition) {
    view.RequireObject({"type", "zoom", "position", "pointOfInterest", "orientation", "rotation"});
    Camera camera = DefaultCamera(composition.mWidth, composition.mHeight);
    if (view.Has("type")) {
        constexpr std::string_view expected = "\"perspective\" or \"orthographic\"";
        const JsonView type = view.Member("type");
        const std::string text = type.String(expected);
        if (text != "perspective" && text != "orthographic") type.Fail(expected);
        camera.mType = text == "perspective" ? Camera::Type::Perspective : Camera::Type::Orthographic;
    }
    const auto vector = [](const JsonView& value) { return value.Vector3(); };
    if (view.Has("zoom")) {
        camera.mZoom = ReadAnimation<double>(view.Member("zoom"), ReadZoom);
        // The camera's place at rest follows its zoom, so that the layer fills the picture at any zoom.
        camera.mPosition.mKeys.front().mValue.z = -Evaluate(camera.mZoom, 0);
    }
    if (view.Has("position")) camera.mPosition = ReadAnimation<glm::dvec3>(view.Member("position"), vector);
    if (view.Has("pointOfInterest")) {
        camera.mPointOfInterest = ReadAnimation<glm::dvec3>(view.Member("pointOfInterest"), vector);
    }
    if (view.Has("orientation")) camera.mOrientation = ReadAnimation<glm::dvec3>(view.Member("orientation"), vector);
    if (view.Has("rotation")) camera.mRotation = ReadAnimation<glm::dvec3>(view.Member("rotation"), vector);
    return camera;
}

// A null stands in the composition's middle until it is moved.
NullSetting ReadNull(const JsonView& view, const Composition& composition) {
    view.RequireObject({"name", "position", "orientation", "rotation", "scale", "parent"});
    constexpr std::string_view expected = "a layer's name";
    if (!view.Has("name")) view.Fail("a null object with a \"name\"");
    NullSetting null;
    null.mName = view.Member("name").String(expected);
    if (null.mName.empty()) view.Member("name").Fail(expected);
    if (view.Has("parent")) null.mParent = view.Member("parent").String(expected);
    null.mWhere = fmt::format("{}: {}.parent", view.File(), view.Key());
    NullTransform& transform = null.mTransform;
    transform.mPosition.mKeys.front().mValue = {composition.mWidth / 2.0, composition.mHeight / 2.0, 0};
    const auto read = [&](std::string_view key, Animation<glm::dvec3>& target) {
        if (!view.Has(key)) return;
        target = ReadAnimation<glm::dvec3>(view.Member(key), [](const JsonView& value) { return value.Vector3(); });
    };
    read("position", transform.mPosition);
    read("orientation", transform.mOrientation);
    read("rotation", transform.mRotation);
    read("scale", transform.mScale);
    return null;
}

Json WriteVector(const glm::dvec3& vector) { return Json::array({vector.x, vector.y, vector.z}); }

}  // namespace

int ReadDimension(const JsonView& view) { return view.IntegerBetween(1, kMaxDimension); }

double ReadFrameRate(const JsonView& view) { return view.NumberBetween(0.1, 1000); }

int ReadBitsPerChannel(const JsonView& view) {
    constexpr std::string_view expected = "8, 16 or 32";
    const double bits = view.Number(expected);
    if (bits != 8 && bits != 16 && bits != 32) view.Fail(expected);
    return static_cast<int>(bits);
}

int ReadDownsample(const JsonView& view) { return view.IntegerBetween(1, kMaxDownsample); }

TimeBase MakeTimeBase(double frameRate) {
    const double nearest = std::round(frameRate);
    if (std::abs(frameRate - nearest) < 1e-9) return {1, static_cast<int>(nearest)};
    // 23.976, 29.97 and 59.94 are written short for 1000/1001 of the whole rate.
    if (std::abs(frameRate - nearest * 1000 / 1001) < 0.0005 * nearest / 24) {
        return {1001, static_cast<int>(nearest) * 1000};
    }
    // Other rates get the nearest fraction whose parts stay small.
    TimeBase best{1, std::max(1, static_cast<int>(nearest))};
    double bestError = std::abs(frameRate - nearest);
    for (int step = 2; step <= 1000 && bestError > 1e-9; ++step) {
        const double scale = std::round(frameRate * step);
        const double error = std::abs(frameRate - scale / step);
        if (scale >= 1 && error < bestError) {
            best = {step, static_cast<int>(scale)};
            bestError = error;
        }
    }
    return best;
}

int CountFrames(const Composition& composition) {
    return std::max(1, static_cast<int>(std::lround(composition.mDuration * composition.mFrameRate)));
}

Scene ParseScene(const Json& document, const std::string& file, const std::filesystem::path& folder,
                 const CompositionChange& change) {
    const JsonView root(document, file);
    root.RequireObject({"composition", "layer", "camera", "nulls", "parameters"});
    Scene scene;
    if (root.Has("composition")) scene.mComposition = ReadComposition(root.Member("composition"));
    if (root.Has("layer")) scene.mComposition.mLayer = ReadLayer(root.Member("layer"));
    if (change) change(scene.mComposition);
    if (root.Has("camera") && !root.Member("camera").Value().is_null()) {
        scene.mCamera = ReadCamera(root.Member("camera"), scene.mComposition);
    }
    if (root.Has("nulls")) {
        const JsonView nulls = root.Member("nulls");
        const std::size_t count = nulls.RequireArray("an array of null objects");
        if (count > kMaxNulls) nulls.Fail(fmt::format("at most {} null objects", kMaxNulls));
        for (std::size_t i = 0; i < count; ++i) scene.mNulls.push_back(ReadNull(nulls.Element(i), scene.mComposition));
    }
    if (root.Has("parameters")) {
        const JsonView parameters = root.Member("parameters");
        if (!parameters.Value().is_object()) parameters.Fail("an object of parameters by id");
        for (const auto& [key, value] : parameters.Value().items()) {
            // Values wait until the effect has said what its parameters are.
            scene.mSettings.push_back({key, value, file, "parameters." + key, folder, {}});
        }
    }
    return scene;
}

Scene ReadScene(const std::filesystem::path& file, const CompositionChange& change) {
    return ParseScene(ReadJsonFile(file), PathText(file), std::filesystem::absolute(file).parent_path(), change);
}

Json WriteComposition(const Composition& composition) {
    return {{"width", composition.mWidth},
            {"height", composition.mHeight},
            {"frameRate", composition.mFrameRate},
            {"duration", composition.mDuration},
            {"bitsPerChannel", composition.mBitsPerChannel},
            {"downsample", composition.mDownsample}};
}

Json WriteLayer(const LayerPlacement& layer) {
    const LayerPlacement plain;
    Json json;
    if (layer.mStart != plain.mStart) json["start"] = layer.mStart;
    if (layer.mStretch != plain.mStretch) json["stretch"] = layer.mStretch;
    if (layer.mWidth != plain.mWidth) json["width"] = layer.mWidth;
    if (layer.mHeight != plain.mHeight) json["height"] = layer.mHeight;
    return json;
}

Json WriteCamera(const Camera& camera) {
    const auto number = [](double value) { return Json(value); };
    Json json = {{"type", camera.mType == Camera::Type::Perspective ? "perspective" : "orthographic"},
                 {"zoom", WriteAnimation(camera.mZoom, number)},
                 {"position", WriteAnimation(camera.mPosition, WriteVector)}};
    if (camera.mPointOfInterest) json["pointOfInterest"] = WriteAnimation(*camera.mPointOfInterest, WriteVector);
    json["orientation"] = WriteAnimation(camera.mOrientation, WriteVector);
    json["rotation"] = WriteAnimation(camera.mRotation, WriteVector);
    return json;
}

Json WriteNull(const NullSetting& null) {
    const NullTransform& transform = null.mTransform;
    Json json = {{"name", null.mName},
                 {"position", WriteAnimation(transform.mPosition, WriteVector)},
                 {"orientation", WriteAnimation(transform.mOrientation, WriteVector)},
                 {"rotation", WriteAnimation(transform.mRotation, WriteVector)},
                 {"scale", WriteAnimation(transform.mScale, WriteVector)}};
    if (!null.mParent.empty()) json["parent"] = null.mParent;
    return json;
}

}  // namespace nimbrel::host
