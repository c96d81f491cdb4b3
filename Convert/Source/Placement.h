#pragma once

#include <glm/gtc/quaternion.hpp>
#include <glm/mat3x3.hpp>
#include <glm/mat4x4.hpp>

#include "NimbrelConvert/RowLayout.h"

namespace nimbrel::convert {

/// Moves, turns, mirrors and scales splats as a whole: positions, shapes and what their harmonics show in each
/// direction.
class Placement {
public:
    /// Throws FormatError for a matrix that scales the axes differently or shears: a splat's colours have no answer to
    /// it.
    explicit Placement(const glm::dmat4& matrix);

    /// Places one row of the layout in place.
    void Apply(RowLayout layout, float* row) const;

private:
    void TurnHarmonics(RowLayout layout, float* rest) const;

    glm::dmat4 mMatrix;
    glm::dquat mRotation;  ///< of a mirroring matrix, that of its opposite: a splat looks the same from behind
    float mLogScale = 0;
    /// What each coefficient of a band becomes, in rows: new = mBands[band - 1] * old.
    float mBands[3][7][7] = {};
};

}  // namespace nimbrel::convert
