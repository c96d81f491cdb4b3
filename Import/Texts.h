#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <glm/vec3.hpp>

/// Words for the project panel, which takes ASCII only.
namespace nimbrel::importer {

/// "500,000".
std::string GroupDigits(std::int64_t number);

/// "1.2 x 0.8 x 2.1 m": one file unit is a metre.
std::string DescribeSize(const glm::vec3& size);

/// The name of a path's file. What is no printable ASCII becomes "?".
std::string GetFileName(const std::u16string& path);

/// Puts a text and its terminator into a field, cut to fit, with "?" for what is no printable ASCII.
void CopyText(std::string_view text, char* field, std::size_t size);

}  // namespace nimbrel::importer
