#include "Nimbrel/CPU/SplatDecoding.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "Render/CPU/Arithmetic.h"
#include "Render/CPU/HalfConversion.h"

namespace nimbrel::cpu {
namespace {

using zeb::render::cpu::BitsToFloat;
using zeb::render::cpu::HalfToFloat;

/// Steps between 0 and 1 of fields of 16, 11, 10, 6 and 5 bits, as the programs hold them.
constexpr float kStep16 = 1.52590219e-05F;
constexpr float kStep11 = 0.000488519785F;
constexpr float kStep10 = 0.000977517106F;
constexpr float kStep6 = 0.0158730168F;
constexpr float kStep5 = 0.0322580636F;

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

void DecodeSH(const SplatBlocks& blocks, const gpu::SplatChunkInfo& chunk, std::uint64_t record, glm::vec3* sh) {
    const std::uint32_t format = blocks.SHFormat();
    constexpr std::uint64_t kSizes[] = {192, 96, 60, 32};
    const std::uint64_t address = record * kSizes[format < 4 ? format : 1];
    const HalfRange red(chunk.shR);
    const HalfRange green(chunk.shG);
    const HalfRange blue(chunk.shB);
    for (std::uint64_t i = 0; i < kSHCoefficients; ++i) {
        const glm::vec3 v = LoadSHCoefficient(blocks.mSH, address, format, i);
        const bool mapped = format >= 1 && format <= 3;
        sh[i] = mapped ? glm::vec3(red.Map(v.x), green.Map(v.y), blue.Map(v.z)) : v;
    }
}

float PowerOf8(float value) {
    const float squared = value * value;
    const float fourth = squared * squared;
    return fourth * fourth;
}

}  // namespace

HalfRange::HalfRange(std::uint32_t word)
    : mLow(HalfToFloat(static_cast<std::uint16_t>(word & 0xFFFFU))),
      mHigh(HalfToFloat(static_cast<std::uint16_t>(word >> 16))) {}

gpu::SplatChunkInfo LoadChunk(const SplatBlocks& blocks, std::uint32_t splat) {
    gpu::SplatChunkInfo chunk{};
    const std::size_t address = static_cast<std::size_t>(splat / gpu::kSplatsPerChunk) * sizeof chunk;
    if (address + sizeof chunk <= blocks.mChunks.size()) {
        std::memcpy(&chunk, blocks.mChunks.data() + address, sizeof chunk);
    }
    return chunk;
}

glm::vec3 DecodePosition(const SplatBlocks& blocks, const gpu::SplatChunkInfo& chunk, std::uint32_t splat) {
    const std::uint32_t format = blocks.PositionFormat();
    const std::uint64_t address = static_cast<std::uint64_t>(GetVectorSize(format)) * splat;
    const glm::vec3 v = LoadVector(blocks.mPositions, address, format);
    return {chunk.posX.x + v.x * (chunk.posX.y - chunk.posX.x), chunk.posY.x + v.y * (chunk.posY.y - chunk.posY.x),
            chunk.posZ.x + v.z * (chunk.posZ.y - chunk.posZ.x)};
}

glm::vec4 DecodeRotation(std::uint32_t word) {
    const auto component = [word](int shift) {
        return static_cast<float>((word >> shift) & 1023U) * 0.00138241798F - 0.707106769F;
    };
    const float a = component(0);
    const float b = component(10);
    const float c = component(20);
    const float d = std::sqrt(1.0F - zeb::render::cpu::Saturate(a * a + b * b + c * c));
    switch (word >> 30) {
        case 0: return {d, a, b, c};
        case 1: return {a, d, b, c};
        case 2: return {a, b, d, c};
        default: return {a, b, c, d};
    }
}

float DecodeOpacity(float encoded, const HalfRange& range) {
    const float u = ((range.mLow - 0.5F) + encoded * (range.mHigh - range.mLow)) * 0.5F;
    return zeb::render::cpu::Sign(u) * std::sqrt(std::abs(u)) + 0.5F;
}

glm::vec4 LoadColorTexel(const SplatBlocks& blocks, std::uint32_t splat) {
    // The low 8 bits of the index walk a tile of 16 by 16 texels in Morton order.
    const std::uint32_t a = (splat & 0x55U) | ((splat << 7) & 0x5500U);
    const std::uint32_t b = (a | (a >> 1)) & 0x3333U;
    const std::uint32_t c = b | (b >> 2);
    const std::uint32_t x = (c & 15U) | ((splat >> 4) & 2032U);
    const std::uint32_t y = ((c >> 8) & 15U) | ((splat >> 15) << 4);
    return blocks.mColor.Load(x, static_cast<std::int64_t>(y) + blocks.mConstants._SplatColorYOffset);
}

Splat DecodeSplat(const SplatBlocks& blocks, std::uint32_t splat) {
    const gpu::SplatChunkInfo chunk = LoadChunk(blocks, splat);
    const bool indexedSH = blocks.SHFormat() > 3;
    const std::uint64_t recordSize = 4 + GetVectorSize(blocks.ScaleFormat()) + (indexedSH ? 2 : 0);
    const std::uint64_t record = recordSize * splat;

    Splat result;
    result.mPosition = DecodePosition(blocks, chunk, splat);
    result.mRotation = DecodeRotation(Load<std::uint32_t>(blocks.mOther, record));
    const glm::vec3 scale = LoadVector(blocks.mOther, record + 4, blocks.ScaleFormat());
    result.mScale = {PowerOf8(HalfRange(chunk.sclX).Map(scale.x)), PowerOf8(HalfRange(chunk.sclY).Map(scale.y)),
                     PowerOf8(HalfRange(chunk.sclZ).Map(scale.z))};
    const glm::vec4 texel = LoadColorTexel(blocks, splat);
    result.mColor = {HalfRange(chunk.colR).Map(texel.x), HalfRange(chunk.colG).Map(texel.y),
                     HalfRange(chunk.colB).Map(texel.z)};
    result.mOpacity = DecodeOpacity(texel.w, HalfRange(chunk.colA));
    const std::uint64_t shRecord = indexedSH ? Load<std::uint16_t>(blocks.mOther, record + recordSize - 2) : splat;
    DecodeSH(blocks, chunk, shRecord, result.mSH);
    return result;
}

}  // namespace nimbrel::cpu
