#include "Nimbrel/CPU/SplatDecoding.h"

#include <algorithm>

#include "Nimbrel/CPU/SplatDecoding-inl.h"
#include "Render/CPU/Arithmetic.h"

namespace nimbrel::cpu {
namespace {

using zeb::render::cpu::BitsToFloat;
using zeb::render::cpu::HalfToFloat;

std::span<const std::byte> Bytes(const std::vector<std::uint8_t>& block) { return std::as_bytes(std::span(block)); }

zeb::render::Format GetColorFormat(ColorFormat format) {
    using zeb::render::Format;
    switch (format) {
        case ColorFormat::Float32x4: return Format::RGBA32Float;
        case ColorFormat::Float16x4: return Format::RGBA16Float;
        default: return Format::RGBA8Unorm;
    }
}

template <class Word>
Word Load(std::span<const std::byte> block, std::uint64_t address) {
    Word word = 0;
    if (address < block.size()) {
        std::memcpy(&word, block.data() + address, std::min<std::size_t>(sizeof word, block.size() - address));
    }
    return word;
}

float LoadFloat(std::span<const std::byte> block, std::uint64_t address) {
    return BitsToFloat(Load<std::uint32_t>(block, address));
}

float Field(std::uint32_t word, int shift, std::uint32_t mask, float step) {
    return static_cast<float>((word >> shift) & mask) * step;
}

std::uint32_t GetVectorSize(std::uint32_t format) {
    constexpr std::uint32_t kSizes[] = {12, 6, 4, 2};
    return format < 4 ? kSizes[format] : 0;
}

glm::vec3 UnpackNorm11(std::uint32_t word) {
    return {Field(word, 0, 2047, kStep11), Field(word, 11, 1023, kStep10), Field(word, 21, 2047, kStep11)};
}

glm::vec3 LoadVector(std::span<const std::byte> block, std::uint64_t address, std::uint32_t format) {
    switch (format) {
        case 0: return {LoadFloat(block, address), LoadFloat(block, address + 4), LoadFloat(block, address + 8)};
        case 1: {
            const auto field = [&](int i) {
                return static_cast<float>(Load<std::uint16_t>(block, address + 2 * static_cast<unsigned>(i))) * kStep16;
            };
            return {field(0), field(1), field(2)};
        }
        case 2: return UnpackNorm11(Load<std::uint32_t>(block, address));
        case 3: {
            const std::uint32_t word = Load<std::uint16_t>(block, address);
            return {Field(word, 0, 63, kStep6), Field(word, 6, 31, kStep5), Field(word, 11, 31, kStep5)};
        }
        default: return glm::vec3(0.0F);
    }
}

/// Coefficient `index` (0 for the first behind the constant one) of the record at `address`, as stored.
glm::vec3 LoadSHCoefficient(std::span<const std::byte> block, std::uint64_t address, std::uint32_t format,
                            std::uint64_t index) {
    switch (format) {
        case 0: {
            const std::uint64_t at = address + 12 * index;
            return {LoadFloat(block, at), LoadFloat(block, at + 4), LoadFloat(block, at + 8)};
        }
        case 2: return UnpackNorm11(Load<std::uint32_t>(block, address + 4 * index));
        case 3: {
            const std::uint32_t word = Load<std::uint16_t>(block, address + 2 * index);
            return {Field(word, 0, 31, kStep5), Field(word, 5, 63, kStep6), Field(word, 11, 31, kStep5)};
        }
        default: {
            const std::uint64_t at = address + 6 * index;
            return {HalfToFloat(Load<std::uint16_t>(block, at)), HalfToFloat(Load<std::uint16_t>(block, at + 2)),
                    HalfToFloat(Load<std::uint16_t>(block, at + 4))};
        }
    }
}

}  // namespace

SplatBlocks MakeBlocks(const GaussianSplatAsset& asset) {
    SplatBlocks blocks;
    blocks.mChunks = Bytes(asset.chunkData);
    blocks.mPositions = Bytes(asset.posData);
    blocks.mOther = Bytes(asset.otherData);
    blocks.mSH = Bytes(asset.shData);
    blocks.mColor = {reinterpret_cast<const std::byte*>(asset.colorData.data()), GetColorFormat(asset.colorFormat),
                     static_cast<std::uint32_t>(asset.colorWidth), static_cast<std::uint32_t>(asset.colorHeight), 1};
    blocks.mConstants._SplatFormat = static_cast<std::uint32_t>(asset.posFormat) |
                                     static_cast<std::uint32_t>(asset.scaleFormat) << 8 |
                                     static_cast<std::uint32_t>(asset.shFormat) << 16;
    return blocks;
}

glm::vec3 DecodePosition(const SplatBlocks& blocks, std::uint32_t splat) {
    using namespace HWY_NAMESPACE;
    const Vec3<float> position = MapPosition(LoadChunk(blocks, splat), PackedSplat::From(LoadPosition(blocks, splat)));
    return {position.x, position.y, position.z};
}

gpu::SplatChunkInfo LoadChunk(const SplatBlocks& blocks, std::uint32_t splat) {
    gpu::SplatChunkInfo chunk{};
    const std::size_t address = static_cast<std::size_t>(splat / gpu::kSplatsPerChunk) * sizeof chunk;
    if (address + sizeof chunk <= blocks.mChunks.size()) {
        std::memcpy(&chunk, blocks.mChunks.data() + address, sizeof chunk);
    }
    return chunk;
}

glm::vec3 LoadPosition(const SplatBlocks& blocks, std::uint32_t splat) {
    const std::uint32_t format = blocks.PositionFormat();
    return LoadVector(blocks.mPositions, static_cast<std::uint64_t>(GetVectorSize(format)) * splat, format);
}

namespace {

glm::vec4 LoadColorTexel(const SplatBlocks& blocks, std::uint32_t splat) {
    // The low 8 bits of the index walk a tile of 16 by 16 texels in Morton order.
    const std::uint32_t a = (splat & 0x55U) | ((splat << 7) & 0x5500U);
    const std::uint32_t b = (a | (a >> 1)) & 0x3333U;
    const std::uint32_t c = b | (b >> 2);
    const std::uint32_t x = (c & 15U) | ((splat >> 4) & 2032U);
    const std::uint32_t y = ((c >> 8) & 15U) | ((splat >> 15) << 4);
    return blocks.mColor.Load(x, static_cast<std::int64_t>(y) + blocks.mConstants._SplatColorYOffset);
}

}  // namespace

StoredSplat LoadSplat(const SplatBlocks& blocks, std::uint32_t splat) {
    const std::uint32_t shFormat = blocks.SHFormat();
    const bool indexedSH = shFormat > 3;
    const std::uint64_t recordSize = 4 + GetVectorSize(blocks.ScaleFormat()) + (indexedSH ? 2 : 0);
    const std::uint64_t record = recordSize * splat;

    StoredSplat stored;
    stored.mPosition = LoadPosition(blocks, splat);
    stored.mRotation = Load<std::uint32_t>(blocks.mOther, record);
    stored.mScale = LoadVector(blocks.mOther, record + 4, blocks.ScaleFormat());
    stored.mTexel = LoadColorTexel(blocks, splat);
    stored.mIsSHMapped = shFormat >= 1 && shFormat <= 3;
    constexpr std::uint64_t kSizes[] = {192, 96, 60, 32};
    const std::uint64_t shRecord = indexedSH ? Load<std::uint16_t>(blocks.mOther, record + recordSize - 2) : splat;
    const std::uint64_t address = shRecord * kSizes[indexedSH ? 1 : shFormat];
    for (std::uint64_t i = 0; i < kSHCoefficients; ++i)
        stored.mSH[i] = LoadSHCoefficient(blocks.mSH, address, shFormat, i);
    return stored;
}

}  // namespace nimbrel::cpu
