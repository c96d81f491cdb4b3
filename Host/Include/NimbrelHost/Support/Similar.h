#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace nimbrel::host {

/// The candidate closest to a mistyped word, or an empty text if none is close.
std::string FindSimilar(std::string_view word, const std::vector<std::string>& candidates);

/// " (did you mean "word"?)", or nothing if no candidate is close.
std::string SuggestSimilar(std::string_view word, const std::vector<std::string>& candidates);

}  // namespace nimbrel::host
