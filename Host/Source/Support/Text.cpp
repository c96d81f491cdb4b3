#include "NimbrelHost/Support/Text.h"

#include <utf8.h>

#include <iterator>

namespace nimbrel::host {

std::u16string ToUtf16(std::string_view text) {
    std::string valid;
    utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(valid));
    std::u16string wide;
    utf8::utf8to16(valid.begin(), valid.end(), std::back_inserter(wide));
    return wide;
}

std::string ToUtf8(std::u16string_view text) {
    std::string narrow;
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t point = text[i];
        const bool high = point >= 0xD800 && point < 0xDC00;
        if (high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
            point = 0x10000 + ((point - 0xD800) << 10) + (text[++i] - 0xDC00U);
        } else if (point >= 0xD800 && point < 0xE000) {
            point = 0xFFFD;  // half of a pair
        }
        utf8::append(static_cast<char32_t>(point), narrow);
    }
    return narrow;
}

std::string ToUtf8(const std::uint16_t* text) {
    std::u16string wide;
    for (; text != nullptr && *text != 0; ++text) wide.push_back(static_cast<char16_t>(*text));
    return ToUtf8(std::u16string_view(wide));
}

std::string PathText(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::filesystem::path TextPath(std::string_view text) {
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

}  // namespace nimbrel::host
