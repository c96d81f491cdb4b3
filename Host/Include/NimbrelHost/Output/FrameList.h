#pragma once

#include <string_view>
#include <vector>

namespace nimbrel::host {

/// Frames to render, in the order given, each once: "7", "0-23", "0-100x10" and "0-100:10" (every tenth), "23-0",
/// "-5--1", and lists of these, "1,3,5-9". Throws UsageError.
std::vector<int> ParseFrames(std::string_view text);

}  // namespace nimbrel::host
