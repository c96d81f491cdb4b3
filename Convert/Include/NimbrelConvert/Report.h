#pragma once

#include <array>
#include <filesystem>
#include <limits>
#include <string>

#include "NimbrelConvert/SplatReader.h"

namespace nimbrel::convert {

struct Range {
    double mLow = std::numeric_limits<double>::infinity();
    double mHigh = -std::numeric_limits<double>::infinity();

    bool IsEmpty() const { return !(mLow <= mHigh); }
    void Take(double value) {
        mLow = value < mLow ? value : mLow;
        mHigh = value > mHigh ? value : mHigh;
    }
};

/// What a model's splats are like. Lengths in file units.
struct Report {
    ModelFacts mFacts;
    std::uint64_t mFileSize = 0;
    bool mIsPlain = false;               ///< the effect reads the file as it is
    std::uint64_t mNotFinite = 0;        ///< splats with a value that is no number or infinite
    std::uint64_t mZeroQuaternions = 0;  ///< splats that are turned nowhere
    std::array<Range, 3> mBounds;        ///< of finite positions
    std::array<Range, 3> mCore;          ///< the same from the 1st to the 99th percentile of each axis
    Range mScale;                        ///< standard deviations
    Range mOpacity;                      ///< 0 to 1
    /// Of a picture that the core's larger side fills: the share that the largest splat covers within two standard
    /// deviations, and the number of splats that cover more than a tenth.
    double mLargestShare = 0;
    std::uint64_t mHugeSplats = 0;
};

/// Reads the whole model. Throws ConvertError.
Report InspectModel(const std::filesystem::path& file, const ReadOptions& options = {});

/// Lines for people.
std::string WriteText(const Report& report);
/// One JSON object.
std::string WriteJson(const Report& report);

}  // namespace nimbrel::convert
