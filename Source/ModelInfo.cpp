#include "ModelInfo.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

namespace {

constexpr std::uint64_t kLargestTopGroup = 1000;
/// Model space is file units times 1000.
constexpr float kGlobalScale = 1000.0F;

}  // namespace

std::string FormatCount(std::uint64_t value) {
    if (value <= kLargestTopGroup) return fmt::format("{} ", value);
    std::string groups;
    for (; value > kLargestTopGroup; value /= 1000) groups = fmt::format(" {:03}", value % 1000) + groups;
    return fmt::format("{}{}", value, groups);
}

std::string FormatBytes(std::uint64_t bytes) {
    if (bytes < 1000) return fmt::format("{} B", bytes);
    constexpr std::array kUnits = {"kB", "MB", "GB", "TB", "PB"};
    double value = static_cast<double>(bytes) / 1000.0;
    std::size_t unit = 0;
    for (std::uint64_t rest = bytes / 1000; rest >= 1000 && unit + 1 < kUnits.size(); rest /= 1000, ++unit)
        value /= 1000.0;
    // From 999.5 on three digits would be written with an exponent.
    return value < 999.5 ? fmt::format("{:.3g} {}", value, kUnits[unit])
                         : fmt::format("{:.0f} {}", value, kUnits[unit]);
}

std::string FormatModelInfo(std::string_view path, const CacheableAsset& model, std::string_view renderInfo) {
    if (!model.IsLoaded()) return fmt::format("Failed to load model \"{}\": {}", path, model.error);
    const GaussianSplatAsset& asset = *model.asset;
    const glm::vec3 least = asset.boundsMin * kGlobalScale;
    const glm::vec3 greatest = asset.boundsMax * kGlobalScale;
    return fmt::format(
        "Path: \"{}\"\nSplats: {}\nVideo Memory: {}\n\nBBox Min: [{}, {}, {}]\nBBox Max: [{}, {}, {}]\n"
        "Note: Splat positions were multiplied by 1000 to match the dimensions of the After Effects scene.\n\n"
        "Render Info:\n{}",
        path, FormatCount(static_cast<std::uint64_t>(std::max(asset.splatCount, 0))), FormatBytes(model.GetSize()),
        least.x, least.y, least.z, greatest.x, greatest.y, greatest.z, renderInfo);
}
