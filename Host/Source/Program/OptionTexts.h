#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace nimbrel::host {

/// The names of an option as a user types them, short ones first; none for a positional argument.
std::vector<std::string> OptionNames(const CLI::Option& option);

/// Whether it is followed by a value, and how that is called.
bool TakesValue(const CLI::Option& option);
std::string ValueName(const CLI::Option& option);

/// What an option takes, told by its type name.
enum class ValueKind { Choices, File, Other };
ValueKind KindOfValue(const CLI::Option& option);
std::vector<std::string> Choices(const CLI::Option& option);

/// The description without the line breaks that the help's columns need.
std::string OneLine(const std::string& text);

}  // namespace nimbrel::host
