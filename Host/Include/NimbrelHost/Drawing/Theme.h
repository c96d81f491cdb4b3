#pragma once

#include <cstdint>
#include <optional>

namespace nimbrel::host {

/// A colour of the interface, 0xRRGGBB.
using Rgb = std::uint32_t;

/// The dark colours in which the panel is drawn and for which effects ask. Text on every ground has a contrast of 4.5
/// or more, what is dimmed excepted.
namespace theme {
inline constexpr Rgb kWindow = 0x15171b;      ///< behind the columns
inline constexpr Rgb kBackground = 0x202329;  ///< of the panel and of controls
inline constexpr Rgb kField = 0x16181d;       ///< sunken: numbers, check boxes, tracks
inline constexpr Rgb kRaised = 0x343942;      ///< buttons and pop-ups
inline constexpr Rgb kBorder = 0x454b56;
inline constexpr Rgb kLine = 0x2d3139;
inline constexpr Rgb kText = 0xd5dae3;
inline constexpr Rgb kMutedText = 0x98a1b0;
inline constexpr Rgb kValue = 0x74b4ff;   ///< numbers that can be dragged
inline constexpr Rgb kAccent = 0x4c9dff;  ///< what is on, filled or selected
inline constexpr Rgb kDriven = 0xff9b85;  ///< values that an expression gives
}  // namespace theme

/// The colour behind one of the interface's colour numbers (PF_App_ColorType); nothing for a number that is not known.
std::optional<Rgb> FindAppColor(int type);

/// The mean of two colours, `share` of the second.
Rgb MixColors(Rgb first, Rgb second, double share);

}  // namespace nimbrel::host
