#include "Texts.h"

#include <algorithm>

#include <fmt/format.h>

namespace nimbrel::importer {
namespace {

char ToPrintable(std::uint32_t unit) { return unit >= 0x20 && unit < 0x7F ? static_cast<char>(unit) : '?'; }

}  // namespace

std::string GroupDigits(std::int64_t number) {
    const std::string digits = fmt::format("{}", number);
    const std::size_t first = number < 0 ? 1 : 0;
    std::string grouped;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > first && (digits.size() - i) % 3 == 0) grouped += ',';
        grouped += digits[i];
    }
    return grouped;
}

std::string DescribeSize(const glm::vec3& size) {
    const float greatest = std::max({size.x, size.y, size.z});
    if (!(greatest < 1e6F)) return fmt::format("{:.1e} x {:.1e} x {:.1e} m", size.x, size.y, size.z);
    // Two digits of the greatest, as far as sizes of things go.
    const int digits = greatest >= 100 ? 0 : greatest >= 1 ? 1 : greatest >= 0.1F ? 2 : 4;
    return fmt::format("{:.{}f} x {:.{}f} x {:.{}f} m", size.x, digits, size.y, digits, size.z, digits);
}

std::string GetFileName(const std::u16string& path) {
    const std::size_t slash = path.find_last_of(u"/\\");
    std::string name;
    for (const char16_t unit : path.substr(slash == std::u16string::npos ? 0 : slash + 1)) name += ToPrintable(unit);
    return name;
}

void CopyText(std::string_view text, char* field, std::size_t size) {
    const std::size_t length = std::min(text.size(), size - 1);
    std::transform(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length), field,
                   [](char c) { return ToPrintable(static_cast<unsigned char>(c)); });
    std::fill(field + length, field + size, '\0');
}

}  // namespace nimbrel::importer
