#pragma once

// What the test effect and its tests agree on. The effect fills red and green with the pixel's layer coordinates and
// blue with what is probed; alpha is full. In 8 and 16 bits the numbers are the channels' words.
namespace test_effect {

enum Id : int {
    kLevel = 10,
    kTurn,
    kSwitch,
    kMode,
    kTint,
    kSpot,
    kModel,
    kCount,
    kCurve,
    kPress,
    kGroup,
    kGroupEnd,
    kProbe,
    kFault
};

/// Choices of the "Probe" pop-up.
enum Probe : int {
    kProbeLevel,
    kProbeTurn,
    kProbeSwitch,
    kProbeMode,
    kProbeTintGreen,
    kProbeSpotZ,
    kProbePathLength,  ///< UTF-16 units of the model's path
    kProbeCount,
    kProbeCurve,
    kProbeCameraX,
    kProbeZoom,
    kProbeCached,  ///< a value that the compute cache made from the level
};

/// Choices of the "Fault" pop-up.
enum Fault : int {
    kNoFault,
    kMessage,
    kCode,
    kInfo,
    kLeak,
    kPadding,
    kWait,
    kUnserved,
    kLeakPen,    ///< when the control is drawn
    kStalePath,  ///< the same: strokes a path that it has released
    kFailEvent,
};

inline int IndexOf(int id) { return id - kLevel + 1; }

}  // namespace test_effect
