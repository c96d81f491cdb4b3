#include "NimbrelHost/Output/FrameList.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdlib>
#include <unordered_set>

#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {
namespace {

// Seven digits: at 1000 frames a second still hours.
constexpr int kMaxFrame = 9999999;

/// A part of the list: `step` is above 0 whatever the direction.
struct Range {
    int mFirst = 0;
    int mLast = 0;
    int mStep = 1;
};

/// Takes a whole number, with a sign or without, off the front of the text.
bool TakeNumber(std::string_view& text, int& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || std::abs(number) > kMaxFrame) return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

bool TakeAnyOf(std::string_view& text, std::string_view characters) {
    if (text.empty() || characters.find(text[0]) == std::string_view::npos) return false;
    text.remove_prefix(1);
    return true;
}

bool TakeRange(std::string_view& text, Range& range) {
    if (!TakeNumber(text, range.mFirst)) return false;
    range.mLast = range.mFirst;
    if (!TakeAnyOf(text, "-")) return true;
    if (!TakeNumber(text, range.mLast)) return false;
    return !TakeAnyOf(text, "x:") || (TakeNumber(text, range.mStep) && range.mStep > 0);
}

}  // namespace

std::vector<int> ParseFrames(std::string_view text) {
    std::vector<int> frames;
    std::unordered_set<int> seen;
    std::string_view rest = text;
    bool good = true;
    do {
        Range range;
        good = TakeRange(rest, range);
        if (!good) break;
        const int direction = range.mLast < range.mFirst ? -1 : 1;
        const int count = std::abs(range.mLast - range.mFirst) / range.mStep;
        for (int i = 0; i <= count; ++i) {
            const int frame = range.mFirst + direction * i * range.mStep;
            if (seen.insert(frame).second) frames.push_back(frame);
        }
    } while (TakeAnyOf(rest, ","));
    if (!good || !rest.empty()) {
        throw UsageError(
            fmt::format("--frames: expected frames such as 7, 0-23, 0-47x2 or 1,3,5-9, numbers of at most {}, but it "
                        "is {}",
                        kMaxFrame, Quote(text)));
    }
    return frames;
}

}  // namespace nimbrel::host
