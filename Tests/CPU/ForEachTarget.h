#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

#include <gtest/gtest.h>
#include <hwy/targets.h>

namespace test {

/// Calls `function` with vector code held to each width that the machine can run, one after the other.
template <class Function>
void ForEachTarget(const Function& function) {
    hwy::SetSupportedTargetsForTest(0);
    const std::int64_t supported = hwy::SupportedTargets();
    for (std::int64_t rest = supported; rest != 0; rest &= rest - 1) {
        const std::int64_t target = rest & -rest;
        SCOPED_TRACE(hwy::TargetName(target));
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(target);
        function();
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

/// The same bits, or both NaN.
inline bool IsSame(float a, float b) {
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) || (std::isnan(a) && std::isnan(b));
}

}  // namespace test
