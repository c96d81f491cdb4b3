#include "PluginBase/AE/TextAE.h"

namespace zeb {
std::vector<A_UTF16Char> ToHostText(std::u16string_view text) {
    std::vector<A_UTF16Char> result(text.begin(), text.end());
    result.push_back(0);
    return result;
}

std::string_view CutUtf8(std::string_view text, std::size_t maxBytes) noexcept {
    if (text.size() <= maxBytes) return text;
    std::size_t end = maxBytes;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
    return text.substr(0, end);
}

std::string EscapeForScript(std::string_view text) {
    constexpr std::string_view kSpecial = "\b\t\n\v\f\r\"\'\\";
    constexpr std::string_view kLetters = "btnvfr\"\'\\";
    std::string result;
    for (const char c : text) {
        const std::size_t index = kSpecial.find(c);
        if (index == std::string_view::npos) {
            result += c;
            continue;
        }
        result += '\\';
        result += kLetters[index];
    }
    return result;
}

}  // namespace zeb
