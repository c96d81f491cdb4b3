#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "GaussianSplatAsset.h"

struct PLYFileData;

/// Turns a PLY file into a GaussianSplatAsset: orders the splats along a Morton curve, groups them into
/// chunks of 256, normalises every value into its chunk's range and quantises it.
///
/// The blocks are a function of the file and the settings alone: same file, same bytes.
/// No state between calls; any thread, but one call runs on its thread alone.
class GaussianSplatAssetCreator {
public:
    /// 20 bytes without padding: the record is part of a cache key as it stands in memory.
    struct Settings {
        std::uint32_t quality = 2;  ///< 0 (largest) to 4 (smallest); 5 leaves the formats to the caller.
        VectorFormat posFormat = VectorFormat::Norm11;
        VectorFormat scaleFormat = VectorFormat::Norm11;
        SHFormat shFormat = SHFormat::Norm6;
        ColorFormat colorFormat = ColorFormat::Norm8x4;

        /// Sets the four formats from the quality. Throws zeb::Exception for a level that does not exist.
        void ApplyQualityLevel();
    };

    /// Throws what PLYFileReader::ReadFile throws, zeb::Exception for formats that cannot be made, and
    /// std::bad_alloc. Without `loadData` only count, degree and formats are filled in.
    /// While it runs it holds the file's body and the asset; before the asset's blocks exist, 36 bytes per splat to
    /// sort by.
    static std::unique_ptr<GaussianSplatAsset> CreateAsset(const std::u16string& path, const Settings& settings,
                                                           bool loadData);

    /// The same of splats that are in memory.
    static std::unique_ptr<GaussianSplatAsset> CreateAsset(const PLYFileData& file, const Settings& settings,
                                                           bool loadData = true);
};

static_assert(sizeof(GaussianSplatAssetCreator::Settings) == 20, "hashed as 20 bytes");
