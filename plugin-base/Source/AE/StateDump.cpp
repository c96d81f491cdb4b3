#include "StateDump.h"

#include <array>
#include <fstream>
#include <string_view>

#include <nlohmann/json.hpp>

#include "PluginBase/DrawInfo.h"
#include "PluginBase/ImageInfo.h"
#include "PluginBase/Parameters/ParameterPacker.h"
#include "PluginBase/PluginState.h"

namespace zeb {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<std::string_view, 4> kPixelChannels = {"RGBA", "RGB", "Alpha", "ARGB"};
constexpr std::array<std::string_view, 5> kChannelFormats = {"U8", "U16", "I16", "F16", "F32"};
constexpr std::array<std::string_view, 3> kPreMultiplications = {"Opaque", "PreMultiplied", "UnPreMultiplied"};

/// The name of a value; an unknown value takes the first.
template <class Names, class Enum>
std::string_view GetName(const Names& names, Enum value) {
    const auto index = static_cast<std::size_t>(value);
    return names[index < names.size() ? index : 0];
}

Json ToJson(const glm::mat4& matrix) {
    Json rows = Json::array();
    for (glm::length_t i = 0; i < 4; ++i) rows.push_back({matrix[i][0], matrix[i][1], matrix[i][2], matrix[i][3]});
    return rows;
}

Json ToJson(const DrawInfo& info) {
    return {{"mFullWidth", info.mFullWidth},
            {"mFullHeight", info.mFullHeight},
            {"mScaleX", info.mScaleX},
            {"mScaleY", info.mScaleY},
            {"mPivotX", info.mPivotX},
            {"mPivotY", info.mPivotY},
            {"mOutputWidth", info.mOutputWidth},
            {"mOutputHeight", info.mOutputHeight},
            {"mNativeOrigin", static_cast<std::uint32_t>(info.mNativeOrigin)},
            {"mCamera", ToJson(info.mCamera)},
            {"mFocalLength", info.mFocalLength}};
}

Json ToJson(const ImageInfo& image) {
    return {{"mWidth", image.mWidth},
            {"mHeight", image.mHeight},
            {"mRowBytes", image.mRowBytes},
            {"mPixelChannels", GetName(kPixelChannels, image.mPixelChannels)},
            {"mChannelFormat", GetName(kChannelFormats, image.mChannelFormat)},
            {"mPreMultiplication", GetName(kPreMultiplications, image.mPreMultiplication)}};
}

}  // namespace

void WriteStateDump(const DrawInfo& drawInfo, const ImageInfo& image, const PluginState& state,
                    const ParameterPacker& packer) {
    Json dump;
    dump["DrawInfo"] = ToJson(drawInfo);
    dump["ImageInfo"] = ToJson(image);
    dump["State"] = state.ToJson(packer);
    std::ofstream file;
    file.exceptions(std::ios::failbit | std::ios::badbit);
    file.open(NIMBREL_STATE_DUMP_FILE, std::ios::out | std::ios::trunc);
    file << dump.dump(2);
    // What is still to be written may fail too, and a destructor would not tell.
    file.close();
}

}  // namespace zeb
