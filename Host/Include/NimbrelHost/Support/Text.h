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

/// Text of a user's or a file's for a message: in quotation marks, on one line, without characters that a terminal
/// obeys or that turn the writing round (they come as "\u001b", bytes that are no UTF-8 as "\xff"), and long ones
/// without their middle.
std::string Quote(std::string_view text);
/// The same without quotation marks, for names at a message's beginning.
std::string Unquoted(std::string_view text);
/// A whole message before it goes to a terminal: as Quote shows texts, but uncut, with its line breaks and tabs.
std::string MakePrintable(std::string_view message);

/// Paths as UTF-8 text on every system.
std::string PathText(const std::filesystem::path& path);
std::filesystem::path TextPath(std::string_view text);

}  // namespace nimbrel::host
