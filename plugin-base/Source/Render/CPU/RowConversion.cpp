#include "Render/CPU/RowConversion.h"

#include <algorithm>
#include <cstring>

#include "Render/CPU/Convert.h"
#include "Render/CPU/HalfConversion.h"
#include "Render/CPU/Image.h"
#include "Render/CPU/VectorTargets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Render/CPU/RowConversion.cpp"
#include <hwy/foreach_target.h>
// Behind it, once for each target:
#include <hwy/highway.h>

#include "Render/CPU/VectorConversion-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zeb::render::cpu {
namespace HWY_NAMESPACE {

using FloatTag = hn::CappedTag<float, 16>;
using IntTag = hn::RebindToSigned<FloatTag>;
using Floats = hn::Vec<FloatTag>;

/// Unsigned channels of a type in memory, as words.
template <class Channel>
struct Channels {
    using Tag = hn::Rebind<Channel, FloatTag>;

    static HWY_INLINE hn::Vec<IntTag> Load(const Channel* source) {
        return hn::PromoteTo(IntTag(), hn::LoadU(Tag(), source));
    }
    static HWY_INLINE void Store(hn::Vec<IntTag> words, Channel* destination) {
        hn::StoreU(hn::DemoteTo(Tag(), words), Tag(), destination);
    }
};

/// Calls `convert(from, to)` for every whole vector of `count` values, then for the rest in a buffer of its own.
template <class From, class To, class Convert>
HWY_INLINE void ForEachVector(const From* from, std::size_t count, To* to, const Convert& convert) {
    constexpr std::size_t kMostLanes = hn::MaxLanes(FloatTag());
    const std::size_t lanes = hn::Lanes(FloatTag());
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) convert(from + i, to + i);
    if (i == count) return;
    From rest[kMostLanes] = {};
    To result[kMostLanes];
    std::copy(from + i, from + count, rest);
    convert(rest, result);
    std::copy(result, result + (count - i), to + i);
}

template <std::uint32_t kSteps, class Channel>
void DecodeSteps(const Channel* source, std::size_t count, float* values) {
    ForEachVector(source, count, values, [](const Channel* from, float* to) HWY_ATTR {
        const FloatTag d;
        hn::StoreU(VectorFromStep<kSteps>(d, hn::ConvertTo(d, Channels<Channel>::Load(from))), d, to);
    });
}

template <std::uint32_t kSteps, class Channel>
void EncodeSteps(const float* values, std::size_t count, Channel* destination) {
    ForEachVector(values, count, destination, [](const float* from, Channel* to) HWY_ATTR {
        const FloatTag d;
        const auto step = VectorToStep<kSteps>(d, VectorSaturate(d, hn::LoadU(d, from)));
        Channels<Channel>::Store(hn::ConvertTo(IntTag(), step), to);
    });
}

void DecodeHalves(const std::uint16_t* source, std::size_t count, float* values) {
    ForEachVector(source, count, values, [](const std::uint16_t* from, float* to) HWY_ATTR {
        const FloatTag d;
        const auto words = hn::BitCast(hn::RebindToUnsigned<FloatTag>(), Channels<std::uint16_t>::Load(from));
        hn::StoreU(VectorFromHalfBits(d, words), d, to);
    });
}

void EncodeHalves(const float* values, std::size_t count, std::uint16_t* destination) {
    ForEachVector(values, count, destination, [](const float* from, std::uint16_t* to) HWY_ATTR {
        const FloatTag d;
        Channels<std::uint16_t>::Store(hn::BitCast(IntTag(), VectorToHalfBits(d, hn::LoadU(d, from))), to);
    });
}

void RoundToHalves(float* values, std::size_t count) {
    ForEachVector(values, count, values, [](const float* from, float* to) HWY_ATTR {
        const FloatTag d;
        hn::StoreU(VectorToNearestHalf(d, hn::LoadU(d, from)), d, to);
    });
}

/// Integers of the host's layouts: scaled before they are clamped.
template <std::uint32_t kSteps, class Channel>
void ScaleChannels(const float* values, std::size_t count, Channel* destination) {
    ForEachVector(values, count, destination, [](const float* from, Channel* to) HWY_ATTR {
        const FloatTag d;
        const auto steps = hn::Set(d, static_cast<float>(kSteps));
        const auto scaled = hn::Add(hn::Mul(hn::LoadU(d, from), steps), hn::Set(d, 0.5F));
        const auto positive = hn::IfThenElseZero(hn::Gt(scaled, hn::Zero(d)), scaled);
        const auto clamped = hn::IfThenElse(hn::Lt(positive, steps), positive, steps);
        Channels<Channel>::Store(hn::ConvertTo(IntTag(), clamped), to);
    });
}

/// A colour fills 128 bits, or as many vectors of one lane.
void Unmultiply(float* rgba, std::size_t count) {
#if HWY_TARGET == HWY_SCALAR
    for (std::size_t i = 0; i < 4 * count; i += 4) {
        const glm::vec4 color = cpu::Unmultiply({rgba[i], rgba[i + 1], rgba[i + 2], rgba[i + 3]});
        std::memcpy(rgba + i, &color, sizeof color);
    }
#else
    constexpr float kLeastAlpha = 0.00100000005F;
    ForEachVector(rgba, 4 * count, rgba, [](const float* from, float* to) HWY_ATTR {
        const FloatTag d;
        const auto color = hn::LoadU(d, from);
        const auto alpha = hn::Broadcast<3>(color);
        const auto three = hn::Set(IntTag(), 3);
        const auto isAlpha = hn::Eq(hn::And(hn::Iota(IntTag(), 0), three), three);
        const auto faint = hn::Lt(alpha, hn::Set(d, kLeastAlpha));
        const auto channels = hn::IfThenElse(faint, color, hn::Div(color, alpha));
        const auto alphas = hn::IfThenZeroElse(faint, alpha);
        hn::StoreU(hn::IfThenElse(hn::RebindMask(d, isAlpha), alphas, channels), d, to);
    });
#endif
}

void RotateColors(float* rgba, std::size_t count) {
#if HWY_TARGET == HWY_SCALAR
    for (std::size_t i = 0; i < 4 * count; i += 4) std::rotate(rgba + i, rgba + i + 3, rgba + i + 4);
#else
    ForEachVector(rgba, 4 * count, rgba, [](const float* from, float* to) HWY_ATTR {
        const FloatTag d;
        hn::StoreU(hn::Shuffle2103(hn::LoadU(d, from)), d, to);
    });
#endif
}

void DecodeBytes(const std::uint8_t* source, std::size_t count, float* values) {
    DecodeSteps<255>(source, count, values);
}
void DecodeWords(const std::uint16_t* source, std::size_t count, float* values) {
    DecodeSteps<65535>(source, count, values);
}
void EncodeBytes(const float* values, std::size_t count, std::uint8_t* destination) {
    EncodeSteps<255>(values, count, destination);
}
void EncodeWords(const float* values, std::size_t count, std::uint16_t* destination) {
    EncodeSteps<65535>(values, count, destination);
}
void ScaleToBytes(const float* values, std::size_t count, std::uint8_t* destination) {
    ScaleChannels<255>(values, count, destination);
}
void ScaleToWords(const float* values, std::size_t count, std::uint16_t* destination) {
    ScaleChannels<65535>(values, count, destination);
}
void ScaleToSignedWords(const float* values, std::size_t count, std::uint16_t* destination) {
    ScaleChannels<32767>(values, count, destination);
}

}  // namespace HWY_NAMESPACE
}  // namespace zeb::render::cpu
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zeb::render::cpu {

HWY_EXPORT(DecodeBytes);
HWY_EXPORT(DecodeWords);
HWY_EXPORT(DecodeHalves);
HWY_EXPORT(EncodeBytes);
HWY_EXPORT(EncodeWords);
HWY_EXPORT(EncodeHalves);
HWY_EXPORT(RotateColors);
HWY_EXPORT(RoundToHalves);
HWY_EXPORT(ScaleToBytes);
HWY_EXPORT(ScaleToWords);
HWY_EXPORT(ScaleToSignedWords);
HWY_EXPORT(Unmultiply);

namespace {

// Texels of two bytes a channel lie at even addresses: images start at any type's alignment, and layouts hold whole
// words.
const std::uint8_t* ToBytes(const std::byte* bytes) { return reinterpret_cast<const std::uint8_t*>(bytes); }
const std::uint16_t* ToWords(const std::byte* bytes) { return reinterpret_cast<const std::uint16_t*>(bytes); }
std::uint8_t* ToBytes(std::byte* bytes) { return reinterpret_cast<std::uint8_t*>(bytes); }
std::uint16_t* ToWords(std::byte* bytes) { return reinterpret_cast<std::uint16_t*>(bytes); }

}  // namespace

void DecodeRow(Format format, const std::byte* source, std::size_t count, float* rgba) {
    switch (format) {
        case Format::RGBA8Unorm: HWY_DYNAMIC_DISPATCH(DecodeBytes)(ToBytes(source), 4 * count, rgba); break;
        case Format::RGBA16Unorm: HWY_DYNAMIC_DISPATCH(DecodeWords)(ToWords(source), 4 * count, rgba); break;
        case Format::RGBA16Float: HWY_DYNAMIC_DISPATCH(DecodeHalves)(ToWords(source), 4 * count, rgba); break;
        case Format::RGBA32Float: std::memcpy(rgba, source, 16 * count); break;
        default:
            for (std::size_t i = 0; i < count; ++i) {
                const glm::vec4 color = DecodeTexel(format, source + i * GetBytesPerPixel(format));
                std::memcpy(rgba + 4 * i, &color, sizeof color);
            }
            break;
    }
}

void EncodeRow(Format format, const float* rgba, std::size_t count, std::byte* destination) {
    switch (format) {
        case Format::RGBA8Unorm: HWY_DYNAMIC_DISPATCH(EncodeBytes)(rgba, 4 * count, ToBytes(destination)); break;
        case Format::RGBA16Unorm: HWY_DYNAMIC_DISPATCH(EncodeWords)(rgba, 4 * count, ToWords(destination)); break;
        case Format::RGBA16Float: HWY_DYNAMIC_DISPATCH(EncodeHalves)(rgba, 4 * count, ToWords(destination)); break;
        case Format::RGBA32Float: std::memcpy(destination, rgba, 16 * count); break;
        default:
            for (std::size_t i = 0; i < count; ++i) {
                glm::vec4 color;
                std::memcpy(&color, rgba + 4 * i, sizeof color);
                EncodeTexel(format, color, destination + i * GetBytesPerPixel(format));
            }
            break;
    }
}

void UnmultiplyRow(float* rgba, std::size_t count) { HWY_DYNAMIC_DISPATCH(Unmultiply)(rgba, count); }

void MoveAlphaFirst(float* rgba, std::size_t count) { HWY_DYNAMIC_DISPATCH(RotateColors)(rgba, count); }

void RoundRowToHalves(float* values, std::size_t count) { HWY_DYNAMIC_DISPATCH(RoundToHalves)(values, count); }

void ConvertChannels(ChannelFormat format, const float* values, std::size_t count, std::byte* destination) {
    switch (format) {
        case ChannelFormat::U8: HWY_DYNAMIC_DISPATCH(ScaleToBytes)(values, count, ToBytes(destination)); break;
        case ChannelFormat::U16: HWY_DYNAMIC_DISPATCH(ScaleToWords)(values, count, ToWords(destination)); break;
        case ChannelFormat::I16: HWY_DYNAMIC_DISPATCH(ScaleToSignedWords)(values, count, ToWords(destination)); break;
        case ChannelFormat::F16: HWY_DYNAMIC_DISPATCH(EncodeHalves)(values, count, ToWords(destination)); break;
        case ChannelFormat::F32: std::memcpy(destination, values, 4 * count); break;
    }
}

}  // namespace zeb::render::cpu
#endif
