#include "PluginBase/Misc/Utf8.h"

#include <iterator>

#include <utf8.h>

namespace zeb {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsLead(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsTrail(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

}  // namespace

std::u16string ToUtf16(std::string_view text) {
    std::string valid;
    utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(valid), kReplacement);
    std::u16string result;
    utf8::utf8to16(valid.begin(), valid.end(), std::back_inserter(result));
    return result;
}

std::string ToUtf8(std::u16string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t point = text[i];
        if (IsLead(text[i]) && i + 1 < text.size() && IsTrail(text[i + 1])) {
            point = 0x10000 + ((static_cast<char32_t>(text[i]) - 0xD800) << 10) + (text[i + 1] - 0xDC00U);
            ++i;
        } else if (IsLead(text[i]) || IsTrail(text[i])) {
            point = kReplacement;
        }
        utf8::append(point, std::back_inserter(result));
    }
    return result;
}

}  // namespace zeb
