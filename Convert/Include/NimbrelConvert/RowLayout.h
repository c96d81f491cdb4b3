#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace nimbrel::convert {

/// Coefficients beyond the constant one of each colour.
constexpr int CoefficientCount(int degree) { return (degree + 1) * (degree + 1) - 1; }

/// Where the values of one splat stand in a row of floats. It is the row of the PLY files that are written, too:
/// x y z, f_dc_0..2, f_rest_0.. (all of red, then green, then blue), opacity (a logit), scale_0..2 (natural
/// logarithms), rot_0..3 (real part first).
struct RowLayout {
    int mDegree = 0;  ///< 0 to 3

    constexpr std::size_t Coefficients() const { return static_cast<std::size_t>(CoefficientCount(mDegree)); }
    static constexpr std::size_t kPosition = 0;
    static constexpr std::size_t kDc = 3;
    static constexpr std::size_t kRest = 6;
    constexpr std::size_t Opacity() const { return kRest + 3 * Coefficients(); }
    constexpr std::size_t Scale() const { return Opacity() + 1; }
    constexpr std::size_t Rotation() const { return Scale() + 3; }
    constexpr std::size_t Size() const { return Rotation() + 4; }
};

/// The header of a binary PLY file whose rows are laid out as above, up to and with the line "end_header".
std::string MakePlyHeader(long long count, int degree, std::span<const std::string> comments);

}  // namespace nimbrel::convert
