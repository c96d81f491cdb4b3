#pragma once

#include <string>
#include <string_view>

namespace zeb {

/// Between the two encodings; what is not valid becomes U+FFFD. File names may hold such text.
std::u16string ToUtf16(std::string_view text);
std::string ToUtf8(std::u16string_view text);

}  // namespace zeb
