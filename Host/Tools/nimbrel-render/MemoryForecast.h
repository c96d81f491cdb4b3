#pragma once

#include <cstdint>

#include "NimbrelHost/Scene/Composition.h"

namespace nimbrel::host {

/// What models are to be kept and drawn.
struct ModelLoad {
    std::uint64_t mDrawnSplats = 0;     ///< of a frame: a file in two slots counts twice
    std::uint64_t mKeptBytes = 0;       ///< of all files, as the effect keeps them
    std::uint64_t mLargestLoading = 0;  ///< further bytes while the largest is loaded

    /// A file of so many splats.
    void Add(std::uint64_t splats, int degree);
};

/// Resident memory of a run on the processor's cores, in bytes: at most while a model is loaded, and while frames are
/// drawn. Figures of measurements (Docs/Farm.md), within a fifth of what runs took.
struct MemoryForecast {
    std::uint64_t mLoadBytes = 0;
    std::uint64_t mRenderBytes = 0;
};

MemoryForecast ForecastMemory(const ModelLoad& load, const Composition& composition, int threads);

}  // namespace nimbrel::host
