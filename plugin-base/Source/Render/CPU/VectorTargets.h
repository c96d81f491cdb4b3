#pragma once

/// For every source with vector code, before Highway's headers: vectors without a size of their own cannot be
/// members of a struct, so processors that have them run the 128-bit form.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
