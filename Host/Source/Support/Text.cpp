#include "NimbrelHost/Support/Text.h"

#include <fmt/format.h>
#include <utf8.h>

#include <iterator>

namespace nimbrel::host {
namespace {

constexpr std::size_t kMaxShown = 160;  ///< characters of a text in a message
constexpr std::size_t kShownHead = 110;

/// Controls of terminals (C0, DEL, C1), line and paragraph separators, marks of the writing's direction.
bool IsHarmful(std::uint32_t point) {
    return point < 0x20 || (point >= 0x7F && point < 0xA0) || point == 0x200E || point == 0x200F ||
           (point >= 0x2028 && point <= 0x202E) || (point >= 0x2066 && point <= 0x2069) || point == 0xFEFF;
}

std::string Escape(std::uint32_t point) {
    switch (point) {
        case '\n': return "\\n";
        case '\r': return "\\r";
        case '\t': return "\\t";
        default: return fmt::format("\\u{:04x}", point);
    }
}

/// One character at the text's beginning, which is taken away from it, fit to be seen.
template <class Keeps>
std::string TakeShown(std::string_view& text, Keeps keeps) {
    const char* at = text.data();
    std::uint32_t point = 0;
    try {
        point = utf8::next(at, text.data() + text.size());
    } catch (const utf8::exception&) {
        const auto byte = static_cast<unsigned char>(text.front());
        text.remove_prefix(1);
        return fmt::format("\\x{:02x}", byte);
    }
    const std::string_view character = text.substr(0, static_cast<std::size_t>(at - text.data()));
    text.remove_prefix(character.size());
    return IsHarmful(point) && !keeps(point) ? Escape(point) : std::string(character);
}

std::string Show(std::string_view text, std::string_view quotation) {
    const auto keepsNone = [](std::uint32_t) { return false; };
    std::string shown(quotation);
    for (std::size_t count = 0; !text.empty(); ++count) {
        // A character has four bytes at most: what follows is long for certain, and only its end is looked at.
        if (count == kShownHead && text.size() > 4 * (kMaxShown - kShownHead)) {
            text.remove_prefix(text.size() - (kMaxShown - kShownHead));
            while (text.size() > 1 && (static_cast<unsigned char>(text.front()) & 0xC0) == 0x80) text.remove_prefix(1);
            shown += " ... ";
        }
        if (!quotation.empty() && text.front() == '"') shown += '\\';
        shown += TakeShown(text, keepsNone);
    }
    return shown.append(quotation);
}

}  // namespace

std::string Quote(std::string_view text) { return Show(text, "\""); }
std::string Unquoted(std::string_view text) { return Show(text, ""); }

std::string MakePrintable(std::string_view message) {
    std::string shown;
    while (!message.empty())
        shown += TakeShown(message, [](std::uint32_t point) { return point == '\n' || point == '\t'; });
    return shown;
}

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
