#include "NimbrelHost/Output/FramePattern.h"

#include <fmt/format.h>

#include <cstdint>
#include <regex>

#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {

FramePattern::FramePattern(std::string pattern, int start) : mPattern(std::move(pattern)), mFirst(start) {
    const std::filesystem::path extension = TextPath(mPattern).extension();
    if (extension == ".exr") {
        mFormat = Format::Exr;
    } else if (extension != ".png") {
        throw UsageError(
            fmt::format("--output: expected a name that ends in .png or .exr, but it is {}", Quote(mPattern)));
    }
    // Only the file's name is a pattern; a folder may be called what it likes.
    const std::size_t slash = mPattern.find_last_of("/\\");
    const auto name = mPattern.cbegin() + static_cast<std::ptrdiff_t>(slash == std::string::npos ? 0 : slash + 1);
    static const std::regex number("#+|%0?([0-9]?)d");
    for (std::sregex_iterator match(name, mPattern.cend(), number), end; match != end; ++match) {
        mStart = static_cast<std::size_t>(match->position() + (name - mPattern.cbegin()));
        mLength = static_cast<std::size_t>(match->length());
        const bool isHashes = mPattern[mStart] == '#';
        mDigits = isHashes ? mLength : match->length(1) == 0 ? 1 : static_cast<std::size_t>(match->str(1)[0] - '0');
    }
}

std::filesystem::path FramePattern::Expand(int frame) const {
    if (!HasNumber()) return TextPath(mPattern);
    std::string name = mPattern;
    const std::int64_t number = std::int64_t{mFirst} + frame;
    name.replace(mStart, mLength, fmt::format("{:0{}}", number, mDigits));
    return TextPath(name);
}

}  // namespace nimbrel::host
