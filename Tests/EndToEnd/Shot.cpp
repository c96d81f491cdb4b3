#include "Shot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <random>

#include <glm/gtc/matrix_transform.hpp>
#include <glm/matrix.hpp>

#include "AssetFile.h"
#include "ModelMaker.h"

namespace nimbrel::endtoend {
namespace {

namespace fs = std::filesystem;
using zeb::render::Format;

host::Json ToJson(const glm::dvec3& v) { return host::Json::array({v.x, v.y, v.z}); }

glm::dmat4 Rotation(const glm::dvec3& degrees) {
    const glm::dmat4 identity(1.0);
    return glm::rotate(identity, glm::radians(degrees.x), {1, 0, 0}) *
           glm::rotate(identity, glm::radians(degrees.y), {0, 1, 0}) *
           glm::rotate(identity, glm::radians(degrees.z), {0, 0, 1});
}

reference::Instance MakeInstance(const ShotModel& model) {
    const glm::dmat4 identity(1.0);
    const glm::dmat4 local = Rotation(model.mAlignRotation) *
                             glm::scale(identity, glm::dvec3(model.mAlignScale / 100.0)) *
                             glm::translate(identity, -model.mAnchor) * glm::scale(identity, glm::dvec3(1000.0));
    const glm::dmat4 transform = glm::translate(identity, model.mPosition) * Rotation(model.mRotation) *
                                 glm::scale(identity, glm::dvec3(model.mScale / 100.0));
    reference::Instance instance = model.mEffects;
    instance.mLocalMatrix = glm::mat4(local);
    instance.mModelMatrix = glm::mat4(transform);
    instance.mThirdMatrix = glm::mat4(glm::inverse(transform * local));
    return instance;
}

/// World to camera: z towards the target, x level, y leaning down.
glm::dmat4 MakeView(const Shot& shot) {
    if (!shot.mCamera) {
        return glm::translate(glm::dmat4(1.0), {-shot.mWidth / 2.0, -shot.mHeight / 2.0, double(shot.mWidth)});
    }
    const glm::dvec3 z = glm::normalize(shot.mCamera->mTarget - shot.mCamera->mPosition);
    const glm::dvec3 x = glm::normalize(glm::cross(glm::dvec3(0, 1, 0), z));
    const glm::dvec3 y = glm::cross(z, x);
    return glm::inverse(
        glm::dmat4(glm::dvec4(x, 0), glm::dvec4(y, 0), glm::dvec4(z, 0), glm::dvec4(shot.mCamera->mPosition, 1)));
}

float ReadChannel(const host::Frame& frame, std::size_t index) {
    const std::uint8_t* bytes = frame.mPixels.data();
    if (frame.mBitsPerChannel == 8) return static_cast<float>(bytes[index]) / 255.0F;
    if (frame.mBitsPerChannel == 16) {
        std::uint16_t word = 0;
        std::memcpy(&word, bytes + 2 * index, 2);
        return static_cast<float>(word) / 32767.0F;
    }
    float value = 0;
    std::memcpy(&value, bytes + 4 * index, 4);
    return value;
}

/// Calls `visit` with each channel of both frames, colours multiplied by their alpha.
template <class Visit>
void VisitChannels(const host::Frame& a, const host::Frame& b, Visit visit) {
    ASSERT_EQ(a.mWidth, b.mWidth);
    ASSERT_EQ(a.mHeight, b.mHeight);
    ASSERT_EQ(a.mBitsPerChannel, b.mBitsPerChannel);
    const std::size_t pixels = static_cast<std::size_t>(a.mWidth) * static_cast<std::size_t>(a.mHeight);
    for (std::size_t i = 0; i < pixels; ++i) {
        const float alphaA = ReadChannel(a, 4 * i);
        const float alphaB = ReadChannel(b, 4 * i);
        visit(alphaA, alphaB);
        for (std::size_t c = 1; c < 4; ++c)
            visit(ReadChannel(a, 4 * i + c) * alphaA, ReadChannel(b, 4 * i + c) * alphaB);
    }
}

}  // namespace

host::Json MakeSceneDocument(const Shot& shot) {
    host::Json scene;
    scene["composition"] = {{"width", shot.mWidth},
                            {"height", shot.mHeight},
                            {"bitsPerChannel", shot.mBitsPerChannel},
                            {"downsample", shot.mDownsample}};
    if (shot.mCamera) {
        scene["camera"] = {{"type", shot.mCamera->mOrthographic ? "orthographic" : "perspective"},
                           {"zoom", shot.mCamera->mZoom},
                           {"position", ToJson(shot.mCamera->mPosition)},
                           {"pointOfInterest", ToJson(shot.mCamera->mTarget)}};
    }
    host::Json& parameters = scene["parameters"] = host::Json::object();
    parameters["RenderSettings_drawZDepth_drawZDepthEnabled"] = shot.mDrawZDepth;
    parameters["RenderSettings_drawZDepth_zDepthNear"] = shot.mZDepthNear;
    parameters["RenderSettings_drawZDepth_zDepthFar"] = shot.mZDepthFar;
    for (std::size_t i = 0; i < shot.mModels.size(); ++i) {
        const ShotModel& model = shot.mModels[i];
        const std::string slot = "Model" + std::to_string(i + 1) + "_";
        parameters[slot + "model"] = model.mFile.string();
        parameters[slot + "align_anchorPoint"] = ToJson(model.mAnchor);
        parameters[slot + "align_scale"] = model.mAlignScale;
        parameters[slot + "transform_position"] = ToJson(model.mPosition);
        parameters[slot + "transform_scale"] = model.mScale;
        for (int axis = 0; axis < 3; ++axis) {
            const std::string name(1, "xyz"[axis]);
            parameters[slot + "align_" + name + "Rotation"] = model.mAlignRotation[axis];
            parameters[slot + "transform_" + name + "Rotation"] = model.mRotation[axis];
        }
        for (const auto& [id, value] : model.mSettings.items()) parameters[slot + id] = value;
    }
    return scene;
}

std::vector<fs::path> GetFiles(const Shot& shot) {
    std::vector<fs::path> files;
    for (const ShotModel& model : shot.mModels) {
        if (std::find(files.begin(), files.end(), model.mFile) == files.end()) files.push_back(model.mFile);
    }
    return files;
}

reference::Frame MakeReferenceFrame(const Shot& shot) {
    reference::Frame frame;
    const std::vector<fs::path> files = GetFiles(shot);
    for (const fs::path& file : files) frame.mModels.push_back({&GetAsset(file), {}});
    for (const ShotModel& model : shot.mModels) {
        const auto group = std::find(files.begin(), files.end(), model.mFile) - files.begin();
        frame.mModels[static_cast<std::size_t>(group)].mInstances.push_back(MakeInstance(model));
    }
    const auto width = static_cast<float>(shot.mWidth);
    const auto height = static_cast<float>(shot.mHeight);
    frame.mOrthographic = shot.mCamera && shot.mCamera->mOrthographic;
    const double focal = shot.mCamera ? shot.mCamera->mZoom : shot.mWidth;
    frame.mProjection = frame.mOrthographic ? reference::MakeOrthographic(width, height)
                                            : reference::MakePerspective(width, height, static_cast<float>(focal));
    frame.mCamera = glm::mat4(MakeView(shot));
    frame.mDrawZDepth = shot.mDrawZDepth;
    frame.mZDepthNear = static_cast<float>(shot.mZDepthNear);
    frame.mZDepthFar = static_cast<float>(shot.mZDepthFar);
    frame.mWidth = static_cast<std::uint32_t>(shot.mWidth / shot.mDownsample);
    frame.mHeight = static_cast<std::uint32_t>(shot.mHeight / shot.mDownsample);
    frame.mFormat = shot.mBitsPerChannel == 8 ? Format::RGBA8Unorm : Format::RGBA32Float;
    return frame;
}

host::Frame RenderReference(const Shot& shot) {
    const reference::Frame frame = MakeReferenceFrame(shot);
    const Format output = shot.mBitsPerChannel == 8    ? Format::RGBA8Unorm
                          : shot.mBitsPerChannel == 16 ? Format::RGBA16Unorm
                                                       : Format::RGBA32Float;
    const auto channels = shot.mBitsPerChannel == 8    ? zeb::ChannelFormat::U8
                          : shot.mBitsPerChannel == 16 ? zeb::ChannelFormat::I16
                                                       : zeb::ChannelFormat::F32;
    host::Frame picture(static_cast<int>(frame.mWidth), static_cast<int>(frame.mHeight), shot.mBitsPerChannel);
    const std::vector<std::byte> bytes =
        reference::ConvertAndCopy(reference::DrawFrame(frame), output, zeb::PixelChannels::ARGB, channels,
                                  static_cast<std::uint32_t>(picture.RowSize()));
    std::memcpy(picture.mPixels.data(), bytes.data(), std::min(bytes.size(), picture.mPixels.size()));
    return picture;
}

double ComparePsnr(const host::Frame& a, const host::Frame& b) {
    double sum = 0;
    double count = 0;
    VisitChannels(a, b, [&](float x, float y) {
        sum += (static_cast<double>(x) - y) * (static_cast<double>(x) - y);
        ++count;
    });
    return sum == 0 ? std::numeric_limits<double>::infinity() : -10.0 * std::log10(sum / count);
}

double DifferingPixels(const host::Frame& a, const host::Frame& b, double tolerance) {
    const double unit = a.mBitsPerChannel == 8 ? 1.0 / 255.0 : a.mBitsPerChannel == 16 ? 1.0 / 32767.0 : 1.0;
    std::vector<bool> differs;
    VisitChannels(a, b, [&, channel = 0](float x, float y) mutable {
        if (channel++ % 4 == 0) differs.push_back(false);
        // One step exactly is not more than one.
        if (!(std::abs(static_cast<double>(x) - y) <= tolerance * unit + 1e-6)) differs.back() = true;
    });
    return static_cast<double>(std::count(differs.begin(), differs.end(), true)) / static_cast<double>(differs.size());
}

double MeanAlpha(const host::Frame& frame) {
    double sum = 0;
    const std::size_t pixels = static_cast<std::size_t>(frame.mWidth) * static_cast<std::size_t>(frame.mHeight);
    for (std::size_t i = 0; i < pixels; ++i) sum += ReadChannel(frame, 4 * i);
    return sum / static_cast<double>(pixels);
}

fs::path GetScratchFolder() {
    struct Folder {
        fs::path mPath = fs::temp_directory_path() / ("nimbrel-endtoend-" + std::to_string(std::random_device{}()));
        Folder() { fs::create_directories(mPath); }
        ~Folder() {
            std::error_code ignored;
            fs::remove_all(mPath, ignored);
        }
    };
    static const Folder folder;
    return folder.mPath;
}

fs::path GetModelFile(int count, int degree) {
    const fs::path file =
        GetScratchFolder() / ("model-" + std::to_string(count) + "-" + std::to_string(degree) + ".ply");
    if (!fs::exists(file)) {
        maker::ModelOptions options;
        options.mCount = count;
        options.mDegree = degree;
        std::ofstream stream(file, std::ios::binary);
        maker::WriteModel(options, stream);
    }
    return file;
}

}  // namespace nimbrel::endtoend
