// Real spherical harmonics (Green, "Spherical Harmonic Lighting: The Gritty Details", 2003). Included once for each
// vector target, behind Highway's headers.
#if defined(NIMBREL_SPHERICAL_HARMONICS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NIMBREL_SPHERICAL_HARMONICS_INL_H
#undef NIMBREL_SPHERICAL_HARMONICS_INL_H
#else
#define NIMBREL_SPHERICAL_HARMONICS_INL_H
#endif

#include <cstdint>

#include <hwy/highway.h>

#include "Nimbrel/CPU/Lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

/// Colour seen along the unit direction `direction`: `color`, which holds the constant term, plus the harmonics of
/// degree 1 to `order` (at most 3; negative counts as 0), not below 0. `sh(i)` gives the fifteen coefficients of degree
/// 1 to 3, by degree and then by order from -l to l.
template <class N, class Coefficient>
HWY_INLINE Vec3<N> EvaluateSH(Vec3<N> color, const Coefficient& sh, Vec3<N> direction, std::int32_t order) {
    const N x = direction.x;
    const N y = direction.y;
    const N z = direction.z;
    Vec3<N> result = color;
    if (order > 0) result = result + (sh(0) * y - sh(1) * z + sh(2) * x) * N(0.488602489F);
    const N xx = x * x;
    const N yy = y * y;
    const N zz = z * z;
    const N xy = x * y;
    const N two(2.0F);
    if (order > 1) {
        result = result + sh(3) * (N(1.09254837F) * xy);
        result = result + sh(4) * (N(-1.09254837F) * z * y);
        result = result + sh(5) * (N(0.3153916F) * (two * zz - xx - yy));
        result = result + sh(6) * (N(-1.09254837F) * z * x);
        result = result + sh(7) * (N(0.546274185F) * (xx - yy));
    }
    if (order > 2) {
        const N three(3.0F);
        const N four(4.0F);
        result = result + sh(8) * (N(0.590043604F) * y * (three * xx - yy));
        result = result + sh(9) * (N(-2.89061141F) * z * xy);
        result = result + sh(10) * (N(0.457045794F) * y * (four * zz - xx - yy));
        result = result + sh(11) * (N(-0.373176306F) * z * (two * zz - three * xx - three * yy));
        result = result + sh(12) * (N(0.457045794F) * x * (four * zz - xx - yy));
        result = result + sh(13) * (N(-1.44530571F) * z * (xx - yy));
        result = result + sh(14) * (N(0.590043604F) * x * (xx - three * yy));
    }
    const N zero(0.0F);
    return {Max(result.x, zero), Max(result.y, zero), Max(result.z, zero)};
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#endif
