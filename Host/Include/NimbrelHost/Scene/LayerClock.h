#pragma once

#include <cstdint>

#include "NimbrelHost/Scene/Composition.h"

namespace nimbrel::host {

/// A time as hosts and effects exchange it: mValue / mScale seconds.
struct Moment {
    std::int32_t mValue = 0;
    std::uint32_t mScale = 1;
};

/// The time of the effect's layer and how it follows from the composition's. The layer's keys count in its own time, a
/// camera, null objects and the `time` of expressions in the composition's. Any thread.
class LayerClock {
public:
    LayerClock(const TimeBase& composition, const LayerPlacement& layer);

    /// Units of layer time. A frame's step is below 0 in a layer that runs backwards.
    const TimeBase& GetUnits() const { return mUnits; }

    /// Layer time at a frame of the composition, in units. Throws UsageError beyond 32 bits.
    int GetTime(int frame) const;
    /// The same in seconds.
    double GetSeconds(int frame) const { return static_cast<double>(GetTime(frame)) / mUnits.mScale; }

    /// Seconds of layer time to seconds of composition time, and back.
    double ToComposition(double seconds) const;
    double ToLayer(double seconds) const;
    /// Composition time of a layer time: exact at frames, else within a millionth of a second for half an hour.
    Moment ToComposition(const Moment& layer) const;

private:
    TimeBase mComposition;
    TimeBase mUnits;
    std::int64_t mStartFrame;
    double mStretch;  ///< composition seconds in a second of the layer
};

}  // namespace nimbrel::host
