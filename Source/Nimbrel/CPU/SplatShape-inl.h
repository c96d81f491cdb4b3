// The Gaussian of a splat, and its ellipse on the screen (Zwicker et al., "EWA Volume Splatting", 2001). Included once
// for each vector target, behind Highway's headers.
#if defined(NIMBREL_SPLAT_SHAPE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NIMBREL_SPLAT_SHAPE_INL_H
#undef NIMBREL_SPLAT_SHAPE_INL_H
#else
#define NIMBREL_SPLAT_SHAPE_INL_H
#endif

#include <hwy/highway.h>

#include "Nimbrel/CPU/SplatDecoding-inl.h"
#include "Nimbrel/ShaderConstants.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

/// Rotation times scale, by rows. Column k is the splat's k-th axis, as long as its standard deviation.
template <class N>
struct SplatAxes {
    Vec3<N> mRows[3];
};

template <class N>
HWY_INLINE SplatAxes<N> MakeSplatAxes(const Quaternion<N>& rotation, Vec3<N> scale) {
    const N x = rotation.mVector.x;
    const N y = rotation.mVector.y;
    const N z = rotation.mVector.z;
    const N w = rotation.mScalar;
    const N one(1.0F);
    const N two(2.0F);
    return {{{scale.x * (one - two * (y * y + z * z)), scale.y * (two * (x * y - w * z)),
              scale.z * (two * (x * z + w * y))},
             {scale.x * (two * (x * y + w * z)), scale.y * (one - two * (x * x + z * z)),
              scale.z * (two * (y * z - w * x))},
             {scale.x * (two * (x * z - w * y)), scale.y * (two * (y * z + w * x)),
              scale.z * (one - two * (x * x + y * y))}}};
}

/// A symmetric 3 by 3 matrix.
template <class N>
struct Covariance3 {
    N m00, m01, m02, m11, m12, m22;

    HWY_INLINE Vec3<N> Multiply(Vec3<N> v) const {
        return {m00 * v.x + m01 * v.y + m02 * v.z, m01 * v.x + m11 * v.y + m12 * v.z,
                m02 * v.x + m12 * v.y + m22 * v.z};
    }
};

/// Covariance of the splat resized by `size`.
template <class N>
HWY_INLINE Covariance3<N> MakeCovariance(const SplatAxes<N>& axes, N size) {
    const N squared = size * size;
    const Vec3<N>* const rows = axes.mRows;
    const Vec3<N> row0 = rows[0] * squared;
    const Vec3<N> row1 = rows[1] * squared;
    return {Dot(row0, rows[0]), Dot(row0, rows[1]), Dot(row0, rows[2]),
            Dot(row1, rows[1]), Dot(row1, rows[2]), Dot(rows[2] * squared, rows[2])};
}

/// The symmetric matrix (a b; b c), in square pixels.
template <class N>
struct Covariance2 {
    N a, b, c;
};

/// Projection of the covariance at asset position `position`, for a perspective linearised there; 0.3 square pixels are
/// added along the diagonal as a low-pass filter.
template <class N>
HWY_INLINE Covariance2<N> ProjectCovariance(const gpu::CalcViewDataConstants& constants, Vec3<N> position,
                                            const Covariance3<N>& covariance) {
    constexpr float kLowPass = 0.3F;
    // Beyond this share of the half angle of view the linearisation point stays put.
    constexpr float kViewLimit = 1.3F;
    const glm::mat4& modelView = constants._MatrixMV;
    Vec3<N> t0 = Row3<N>(modelView, 0);
    Vec3<N> t1 = Row3<N>(modelView, 1);
    if (constants._CameraType == 0) {
        const Vec3<N> view = TransformPoint(modelView, position);
        const float p00 = constants._MatrixP[0][0];
        const float p11 = constants._MatrixP[1][1];
        const float limitX = kViewLimit / p00;
        const float limitY = kViewLimit / ((p00 / p11) * p11);
        const N focal((constants._VecScreenParams.x * 0.5F) * p00);
        const N tx = Clamp(view.x / view.z, -limitX, limitX);
        const N ty = Clamp(view.y / view.z, -limitY, limitY);
        const N j02 = -(focal * view.z * tx) / (view.z * view.z);
        const N j12 = -(focal * view.z * ty) / (view.z * view.z);
        const N j = focal / view.z;
        const Vec3<N> w2 = Row3<N>(modelView, 2);
        t0 = t0 * j + w2 * j02;
        t1 = t1 * j + w2 * j12;
    }
    const Vec3<N> v0 = covariance.Multiply(t0);
    const Vec3<N> v1 = covariance.Multiply(t1);
    return {Dot(t0, v0) + N(kLowPass), Dot(t0, v1), Dot(t1, v1) + N(kLowPass)};
}

/// Semi-axes of the screen ellipse in pixels, y down; at most 4096 long.
template <class N>
struct ScreenAxes {
    N mMajorX, mMajorY, mMinorX, mMinorY;
};

/// Eigenvectors of the ellipse, each sqrt(2 * eigenvalue) long. NaN where b is 0 and a >= c: no direction is found.
template <class N>
HWY_INLINE ScreenAxes<N> MakeScreenAxes(const Covariance2<N>& covariance) {
    constexpr float kLeastMinorEigenvalue = 0.1F;
    constexpr float kLongestAxis = 4096.0F;
    const N b = covariance.b;
    const N mid = (covariance.a + covariance.c) * N(0.5F);
    const N half = (covariance.a - covariance.c) * N(0.5F);
    const N radius = Sqrt(half * half + b * b);
    const N l1 = mid + radius;
    const N l2 = Max(mid - radius, N(kLeastMinorEigenvalue));
    const N e = l1 - covariance.a;
    const N r = N(1.0F) / Sqrt(b * b + e * e);
    const N dx = r * b;
    const N dy = -(r * e);  // screen y runs opposite to clip y
    const N m1 = Min(Sqrt(N(2.0F) * l1), N(kLongestAxis));
    const N m2 = Min(Sqrt(N(2.0F) * l2), N(kLongestAxis));
    return {m1 * dx, m1 * dy, m2 * dy, -(m2 * dx)};
}

/// Height of the highest corner of the box of twice the splat's axes around it, in aligned space.
template <class N>
HWY_INLINE N FindHighestCorner(const glm::mat4& align, Vec3<N> position, const SplatAxes<N>& axes) {
    N highest(-3.40282347e+38F);
    for (int corner = 0; corner < 8; ++corner) {
        const Vec3<N> c{N((corner & 1) != 0 ? 1.0F : -1.0F), N((corner & 2) != 0 ? 1.0F : -1.0F),
                        N((corner & 4) != 0 ? 1.0F : -1.0F)};
        const Vec3<N> offset{Dot(axes.mRows[0], c), Dot(axes.mRows[1], c), Dot(axes.mRows[2], c)};
        highest = Max(highest, RowTimesPoint(align, 1, position + offset * N(2.0F)));
    }
    return highest;
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#endif
