#include "Nimbrel/CPU/FastNoise.h"

#include <cmath>

#include "Render/CPU/Arithmetic.h"
#include "Render/CPU/VectorTargets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Nimbrel/CPU/FastNoise.cpp"
#include <hwy/foreach_target.h>
// Behind it, once for each target:
#include <hwy/highway.h>

#include "Nimbrel/CPU/SplatLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::Vec<FloatTag>;
using Ints = hn::Vec<IntTag>;

/// kCorners[k][corner]: component k of a corner of the unit cube.
HWY_ALIGN constexpr float kCorners[4][16] = {{0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1},
                                             {0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1, 1},
                                             {0, 0, 0, 0, 1, 1, 1, 1, 0, 0, 0, 0, 1, 1, 1, 1},
                                             {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1}};

/// Of the word that stands at 32, 64 or 96 bits before the fraction's end, by the exponent's place.
HWY_INLINE Words Select(Ints place, std::uint32_t from64, std::uint32_t from32, std::uint32_t below) {
    const IntTag di;
    const auto least = hn::IfThenElse(hn::Lt(place, hn::Set(di, 32)), hn::Set(di, static_cast<std::int32_t>(below)),
                                      hn::Set(di, static_cast<std::int32_t>(from32)));
    const auto word =
        hn::IfThenElse(hn::Lt(place, hn::Set(di, 64)), least, hn::Set(di, static_cast<std::int32_t>(from64)));
    return hn::BitCast(WordTag(), word);
}

/// FractionOfTurn of Sine.h, operation by operation.
HWY_INLINE Words FractionOfTurn(Floats x) {
    const IntTag di;
    const WordTag dw;
    const auto bits = hn::BitCast(dw, x);
    const auto exponent = hn::And(hn::ShiftRight<23>(bits), hn::Set(dw, 255U));
    const auto place = hn::Sub(hn::BitCast(di, exponent), hn::Set(di, 86));
    const auto a = Select(place, 0x28BE60DBU, 0U, 0U);
    const auto b = Select(place, 0x9391054AU, 0x28BE60DBU, 0U);
    const auto c = Select(place, 0x7F09D5F4U, 0x9391054AU, 0x28BE60DBU);
    const auto shift = hn::And(hn::BitCast(dw, place), hn::Set(dw, 31U));
    const auto back = hn::Sub(hn::Set(dw, 31U), shift);
    const auto high = hn::Or(hn::Shl(a, shift), hn::Shr(hn::ShiftRight<1>(b), back));
    const auto low = hn::Or(hn::Shl(b, shift), hn::Shr(hn::ShiftRight<1>(c), back));
    const auto mantissa = hn::Or(hn::And(bits, hn::Set(dw, 0x7FFFFFU)), hn::Set(dw, 0x800000U));
    const auto half = hn::Set(dw, 0xFFFFU);
    const auto m1 = hn::ShiftRight<16>(mantissa);
    const auto m0 = hn::And(mantissa, half);
    const auto l1 = hn::ShiftRight<16>(low);
    const auto l0 = hn::And(low, half);
    const auto sum = hn::Add(hn::Add(hn::Mul(mantissa, high), hn::Mul(m1, l1)),
                             hn::Add(hn::ShiftRight<16>(hn::Mul(m1, l0)), hn::ShiftRight<16>(hn::Mul(m0, l1))));
    const auto outside = hn::Or(hn::Lt(place, hn::Zero(di)), hn::Gt(place, hn::Set(di, 95)));
    return hn::BitCast(dw, hn::IfThenZeroElse(outside, hn::BitCast(di, sum)));
}

HWY_INLINE Floats Sine(Floats x) {
    const FloatTag d;
    const IntTag di;
    const auto turn = hn::BitCast(di, FractionOfTurn(x));
    const auto quarter = hn::Add(hn::BitCast(WordTag(), turn), hn::Set(WordTag(), 0x40000000U));
    const auto mirrored = hn::Lt(hn::BitCast(di, quarter), hn::Zero(di));
    const auto mirror = hn::BitCast(di, hn::Sub(hn::Set(WordTag(), 0x80000000U), hn::BitCast(WordTag(), turn)));
    const auto q = hn::Mul(hn::ConvertTo(d, hn::IfThenElse(mirrored, mirror, turn)), hn::Set(d, 0x1p-30F));
    const auto s = hn::Mul(q, q);
    auto sum = hn::Add(hn::Set(d, -0.00466894731F), hn::Mul(s, hn::Set(d, 0.000149283514F)));
    sum = hn::Add(hn::Set(d, 0.0796861798F), hn::Mul(s, sum));
    sum = hn::Add(hn::Set(d, -0.645962775F), hn::Mul(s, sum));
    sum = hn::Mul(q, hn::Add(hn::Set(d, 1.57079625F), hn::Mul(s, sum)));
    return hn::IfThenElse(hn::Lt(x, hn::Zero(d)), hn::Neg(sum), sum);
}

/// The products of four pairs, summed from left to right.
HWY_INLINE Floats Dot(const Floats (&a)[4], const Floats (&b)[4]) {
    const auto xyz = hn::Add(hn::Add(hn::Mul(a[0], b[0]), hn::Mul(a[1], b[1])), hn::Mul(a[2], b[2]));
    return hn::Add(xyz, hn::Mul(a[3], b[3]));
}

/// The slopes of a cube's sixteen corners at a point inside.
void CornerSlopes(const glm::vec4& lattice, const glm::vec4& fraction, float (&slopes)[16]) {
    const FloatTag d;
    for (std::size_t corner = 0; corner < 16; corner += hn::Lanes(d)) {
        Floats point[4];
        Floats offset[4];
        Floats gradient[4];
        for (int k = 0; k < 4; ++k) {
            const auto unit = hn::LoadU(d, kCorners[k] + corner);
            point[k] = hn::Add(hn::Set(d, lattice[k]), unit);
            offset[k] = hn::Sub(hn::Set(d, fraction[k]), unit);
        }
        for (int k = 0; k < 4; ++k) {
            const glm::vec4& hash = kNoiseHashRows[k];
            const Floats row[4] = {hn::Set(d, hash.x), hn::Set(d, hash.y), hn::Set(d, hash.z), hn::Set(d, hash.w)};
            const auto large = hn::Mul(Sine(Dot(point, row)), hn::Set(d, kNoiseHashScale));
            const auto part = hn::Sub(large, hn::Floor(large));
            gradient[k] = hn::Sub(hn::Mul(part, hn::Set(d, 2.0F)), hn::Set(d, 1.0F));
        }
        hn::StoreU(Dot(gradient, offset), d, slopes + corner);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace nimbrel::cpu {

HWY_EXPORT(CornerSlopes);

float FastNoise4(const glm::vec4& point) {
    const NoiseCell cell = FindNoiseCell(point);
    float slopes[16];
    HWY_DYNAMIC_DISPATCH(CornerSlopes)(cell.mLattice, cell.mFraction, slopes);
    return BlendCorners(slopes, cell.mWeight);
}

}  // namespace nimbrel::cpu
#endif
