#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

/// How a vector (x, y, z) with components in 0..1 is stored. Values are part of the GPU format.
enum class VectorFormat : std::uint32_t {
    Float32 = 0,  ///< 12 bytes: three floats.
    Norm16 = 1,   ///< 6 bytes: three 16-bit fields.
    Norm11 = 2,   ///< 4 bytes: x in bits 0-10, y in bits 11-20, z in bits 21-31.
    Norm6 = 3,    ///< 2 bytes: x in bits 0-5, y in bits 6-10, z in bits 11-15.
};

/// How a pixel of the colour texture (r, g, b, opacity) is stored.
enum class ColorFormat : std::uint32_t {
    Float32x4 = 0,
    Float16x4 = 1,
    Norm8x4 = 2,
    BC7 = 3,  ///< Known by size only; no asset has it.
};

/// How the fifteen spherical harmonics coefficients behind the constant one are stored, each as (r, g, b).
enum class SHFormat : std::uint32_t {
    Float32 = 0,  ///< 192 bytes: 45 floats, 12 zero bytes. Not normalised by the chunk.
    Float16 = 1,  ///< 96 bytes: 45 half floats, 6 zero bytes.
    Norm11 = 2,   ///< 60 bytes: 15 words, r in bits 0-10, g in bits 11-20, b in bits 21-31.
    Norm6 = 3,    ///< 32 bytes: 15 half-words, r in bits 0-4, g in bits 5-10, b in bits 11-15, one zero half-word.
    // Clustered forms: one table of records for many splats. Known by their record count only.
    Cluster64k = 4,
    Cluster32k = 5,
    Cluster16k = 6,
    Cluster8k = 7,
    Cluster4k = 8,
};

/// One model of Gaussian splats in memory: five byte blocks that go to the GPU as they stand, their
/// formats, and the model's bounds. Lengths are file units, little-endian throughout.
///
/// An asset has one owner. Once made it is only read, from any thread, without a lock.
/// The functions throw zeb::Exception (internal error) for a format value that has no size.
class GaussianSplatAsset {
public:
    /// Splats of a chunk: consecutive in memory, and neighbours in space.
    static constexpr std::int32_t kChunkSize = 256;
    static constexpr std::int32_t kTextureWidth = 2048;

    /// Value ranges of one chunk. A stored value v in 0..1 means min + (max - min) * v. The 32-bit
    /// members hold two half floats, the minimum in the low half-word.
    struct ChunkInfo {
        std::uint32_t colR, colG, colB, colA;
        glm::vec2 posX, posY, posZ;  ///< x is the minimum, y the maximum.
        std::uint32_t sclX, sclY, sclZ;
        std::uint32_t shR, shG, shB;
    };

    struct TextureSize {
        std::int32_t width;
        std::int32_t height;
    };

    /// Bytes of the blocks.
    struct DataSizes {
        std::uint64_t position, other, color, sh, chunk, total;
    };

    std::int32_t splatCount = 0;
    std::uint32_t shLevel = 0;  ///< Degree of the spherical harmonics in the source, 0 to 3.
    VectorFormat posFormat = VectorFormat::Norm11;
    VectorFormat scaleFormat = VectorFormat::Norm11;
    SHFormat shFormat = SHFormat::Norm11;
    ColorFormat colorFormat = ColorFormat::Norm8x4;
    std::int32_t colorWidth = 0;
    std::int32_t colorHeight = 0;
    std::vector<std::uint8_t> posData;    ///< Positions, GetVectorSize(posFormat) bytes each; padded to 8 bytes.
    std::vector<std::uint8_t> colorData;  ///< Colour texture, rows top to bottom, texels as in GetTexel.
    std::vector<std::uint8_t> otherData;  ///< Per splat a rotation word and a scale; padded to 8 bytes.
    std::vector<std::uint8_t> shData;
    std::vector<std::uint8_t> chunkData;  ///< ChunkInfo records.
    glm::vec3 boundsMin{0.0f};            ///< Of the splats' centres, in file coordinates.
    glm::vec3 boundsMax{0.0f};

    static std::uint32_t GetVectorSize(VectorFormat format);

    /// Bytes of the rotation word and the scale of one splat.
    static std::uint32_t GetOtherSize(VectorFormat format);

    /// Number of spherical harmonics records: one per splat, or the table size of a clustered form.
    static std::int32_t GetSHCount(SHFormat format, std::int32_t splatCount);

    static std::int32_t GetChunkCount(std::int32_t splatCount);

    /// Texture that holds one texel per splat: 2048 wide, at least 16 rows, rows a multiple of 16.
    static TextureSize CalcTextureSize(std::int32_t splatCount);

    /// Texel (x, y) of a splat: 16 by 16 tiles, 128 a row, in Morton order inside the tile.
    static std::array<std::int32_t, 2> GetTexel(std::int32_t splatIndex);

    // Sizes in bytes, without the padding of the blocks. A negative splat count counts as none.
    static std::uint64_t CalcPosDataSize(std::int32_t splatCount, VectorFormat format);
    static std::uint64_t CalcOtherDataSize(std::int32_t splatCount, VectorFormat format);
    static std::uint64_t CalcColorDataSize(TextureSize size, ColorFormat format);
    static std::uint64_t CalcSHDataSize(std::int32_t splatCount, SHFormat format);

    /// Sizes that the asset's formats and count ask for. The total is what a cache is told.
    static DataSizes CalcDataSizes(const GaussianSplatAsset& asset);
};

// The GPU programs read this record as SplatChunkInfo at a fixed stride.
static_assert(sizeof(GaussianSplatAsset::ChunkInfo) == 64, "chunk records are 64 bytes");
