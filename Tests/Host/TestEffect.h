#pragma once

// What the test effect and its tests agree on.
namespace test_effect {

/// Unique ids, one after the other from host index 1 on.
enum Id : int { kLevel = 9001, kCount, kTint, kPress, kGroup, kGroupEnd, kFault };

/// Choices of the "Fault" pop-up: what goes wrong in a frame, or when the pop-up's control is drawn.
enum Fault : int { kNoFault, kMessage, kCode, kInfo, kLeak, kPadding, kWait, kUnserved, kLeakPen, kStalePath };

}  // namespace test_effect
