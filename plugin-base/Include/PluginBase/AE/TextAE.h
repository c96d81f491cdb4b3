#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "HostInterface/HostInterface.h"
#include "PluginBase/Misc/Utf8.h"

namespace zeb {

/// NUL-terminated text of the host's type.
std::vector<A_UTF16Char> ToHostText(std::u16string_view text);

/// The longest beginning of at most `maxBytes` bytes that does not cut a UTF-8 character.
std::string_view CutUtf8(std::string_view text, std::size_t maxBytes) noexcept;

/// `text` inside a script's string literal, without the quotes.
std::string EscapeForScript(std::string_view text);

}  // namespace zeb
