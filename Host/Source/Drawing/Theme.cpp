#include "NimbrelHost/Drawing/Theme.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "HostInterface/Events.h"

namespace nimbrel::host {
namespace {

// Frame, fill, text, light and dark tinge, highlight, shadow: the order of each family of seven. Effects draw what
// stands out in the highlight, what is under the pointer in the frame's colour, areas in the text's.
constexpr std::array<Rgb, 7> kPlain = {0xf4f6fa, theme::kField, 0x788db1, 0x3a404a, 0x191b20, 0x5aa9ff, 0x0e1013};
constexpr std::array<Rgb, 7> kButton = {theme::kBorder, theme::kRaised, theme::kText, 0x4a515d,
                                        0x262a31,       theme::kAccent, 0x0e1013};
constexpr std::array<Rgb, 7> kPressed = {theme::kAccent, 0x23272e, theme::kText, 0x3a404a,
                                         0x191b20,       0x7dbcff, 0x0e1013};

struct NamedColor {
    int mType;
    Rgb mColor;
};
constexpr NamedColor kNamed[] = {
    {PF_App_Color_BLACK, 0x101114},
    {PF_App_Color_WHITE, 0xf4f6fa},
    {PF_App_Color_GRAY, 0x808894},
    {PF_App_Color_RED, 0xff6b6b},
    {PF_App_Color_YELLOW, 0xffd166},
    {PF_App_Color_GREEN, 0x6fd08c},
    {PF_App_Color_CYAN, 0x5fd4e0},
    {PF_App_Color_HOT_TEXT, theme::kValue},
    {PF_App_Color_PURE_BLACK, 0x000000},
    {PF_App_Color_PURE_WHITE, 0xffffff},
    {PF_App_Color_PANEL_BACKGROUND, theme::kBackground},
};

}  // namespace

Rgb MixColors(Rgb first, Rgb second, double share) {
    Rgb mixed = 0;
    for (const int shift : {16, 8, 0}) {
        const double a = (first >> shift) & 0xff, b = (second >> shift) & 0xff;
        mixed |= static_cast<Rgb>(std::lround(a + (b - a) * share)) << shift;
    }
    return mixed;
}

std::optional<Rgb> FindAppColor(int type) {
    constexpr std::array families = {&kPlain, &kButton, &kPressed};
    constexpr int count = 7 * static_cast<int>(families.size());
    if (type >= 0 && type < 2 * count) {
        const int index = type % count;
        const Rgb color = (*families[static_cast<std::size_t>(index / 7)])[static_cast<std::size_t>(index % 7)];
        // The second half is the first again for what is switched off.
        return type < count ? color : MixColors(color, theme::kBackground, 0.6);
    }
    const auto* const found = std::find_if(std::begin(kNamed), std::end(kNamed),
                                           [&](const NamedColor& named) { return named.mType == type; });
    if (found == std::end(kNamed)) return std::nullopt;
    return found->mColor;
}

}  // namespace nimbrel::host
