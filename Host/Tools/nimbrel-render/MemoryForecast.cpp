#include "MemoryForecast.h"

#include <algorithm>

namespace nimbrel::host {
namespace {

constexpr std::uint64_t kProgramBytes = 60ULL << 20;  // effect, scripts, tables
// Of a splat, by degree: what the asset keeps, and what its file's numbers take while it is made.
constexpr std::uint64_t kKeptBytes[] = {28, 48, 72, 96};
constexpr std::uint64_t kLoadingBytes[] = {100, 140, 200, 280};
// Of a splat drawn in a frame: records, keys and order.
constexpr std::uint64_t kDrawnBytes = 120;
// Of a pixel of a frame being rendered: target, conversion, world, frame, file.
constexpr std::uint64_t kPixelBytes = 48;

}  // namespace

void ModelLoad::Add(std::uint64_t splats, int degree) {
    const auto d = static_cast<std::size_t>(std::clamp(degree, 0, 3));
    mKeptBytes += splats * kKeptBytes[d];
    mLargestLoading = std::max(mLargestLoading, splats * kLoadingBytes[d]);
}

MemoryForecast ForecastMemory(const ModelLoad& load, const Composition& composition, int threads) {
    const auto pixels =
        static_cast<std::uint64_t>(composition.OutputWidth()) * static_cast<std::uint64_t>(composition.OutputHeight());
    const std::uint64_t frame = load.mDrawnSplats * kDrawnBytes + pixels * kPixelBytes;
    const std::uint64_t base = kProgramBytes + load.mKeptBytes;
    return {base + load.mLargestLoading, base + frame * static_cast<std::uint64_t>(threads)};
}

}  // namespace nimbrel::host
