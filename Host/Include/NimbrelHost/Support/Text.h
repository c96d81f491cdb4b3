#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace nimbrel::host {

/// Text crosses to the effect as UTF-16 code units; bytes that are no UTF-8 become the replacement character.
std::u16string ToUtf16(std::string_view text);
std::string ToUtf8(std::u16string_view text);
std::string ToUtf8(const std::uint16_t* text);  ///< NUL-terminated; null gives an empty text

/// Paths as UTF-8 text on every system.
std::string PathText(const std::filesystem::path& path);
std::filesystem::path TextPath(std::string_view text);

}  // namespace nimbrel::host
