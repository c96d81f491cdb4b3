#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "NimbrelHost/Scene/Camera.h"
#include "NimbrelHost/Support/JsonView.h"

namespace nimbrel::host {

struct Composition {
    int mWidth = 1920;
    int mHeight = 1080;
    double mFrameRate = 24;
    double mDuration = 1;  ///< seconds
    int mBitsPerChannel = 8;
    int mDownsample = 1;  ///< every Nth pixel is rendered

    /// Size of the written frame: ceil(size / downsample).
    int OutputWidth() const { return (mWidth + mDownsample - 1) / mDownsample; }
    int OutputHeight() const { return (mHeight + mDownsample - 1) / mDownsample; }
};

/// The host's clock: frame n is at n * mStep / mScale seconds, exactly.
struct TimeBase {
    int mStep = 1;
    int mScale = 24;

    double Seconds(int frame) const { return static_cast<double>(frame) * mStep / mScale; }
};

/// 24 gives 1/24, 23.976 gives 1001/24000 (rates of television), others the nearest fraction.
TimeBase MakeTimeBase(double frameRate);

/// Frames of the composition, at least 1.
int CountFrames(const Composition& composition);

/// Where a null object is, each in its own time: pixels, degrees about x, y, z, percent.
struct NullTransform {
    Animation<glm::dvec3> mPosition = Animation<glm::dvec3>::Constant(glm::dvec3(0));
    Animation<glm::dvec3> mOrientation = mPosition;
    Animation<glm::dvec3> mRotation = mPosition;
    Animation<glm::dvec3> mScale = Animation<glm::dvec3>::Constant(glm::dvec3(100));
};

/// A null object of a scene.
struct NullSetting {
    std::string mName;
    NullTransform mTransform;
    std::string mParent;  ///< another layer's name; empty for none
    std::string mWhere;   ///< for messages: file and key
};

/// One value for one parameter, as the user wrote it. What it means is known only when the effect has defined its
/// parameters.
struct Setting {
    std::string mId;  ///< catalogue id, shown name or #uniqueID
    Json mValue;
    std::string mFile;              ///< for messages: the scene file or the option
    std::string mKey;               ///< for messages
    std::filesystem::path mFolder;  ///< what relative paths are relative to
    std::string mBareText;          ///< of --set: the text before it was taken for JSON
};

struct Scene {
    Composition mComposition;
    std::optional<Camera> mCamera;
    std::vector<NullSetting> mNulls;  ///< topmost first
    std::vector<Setting> mSettings;   ///< in order; later ones win
};

/// What is to be changed of a scene's composition, before anything takes its defaults from it; empty: nothing.
using CompositionChange = std::function<void(Composition&)>;

/// Reads a scene file. Throws UsageError with file, key and what was expected.
Scene ReadScene(const std::filesystem::path& file, const CompositionChange& change = {});

/// The same from a parsed document; `file` names it in messages, relative paths count from `folder`.
Scene ParseScene(const Json& document, const std::string& file, const std::filesystem::path& folder,
                 const CompositionChange& change = {});

/// What fits a composition, checked alike for scenes and for options.
int ReadDimension(const JsonView& view);
double ReadFrameRate(const JsonView& view);
int ReadBitsPerChannel(const JsonView& view);
int ReadDownsample(const JsonView& view);

Json WriteComposition(const Composition& composition);
Json WriteCamera(const Camera& camera);
Json WriteNull(const NullSetting& null);

}  // namespace nimbrel::host
