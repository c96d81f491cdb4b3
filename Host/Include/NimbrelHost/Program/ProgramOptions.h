#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace nimbrel::host {

/// Adds the options that every program has: --version, --man and --completion, which print and end. Name the program
/// and add its own options to the same object: the manual page and the completions are made from them. What is to be
/// printed is thrown by CLI::App::parse as CLI::CallForVersion, whose text it is.
void AddProgramOptions(CLI::App& app);

/// The manual page (man 1) of a program, from its description, options and footer. A line of the footer that begins
/// with blanks stands as it is.
std::string ManualPage(const CLI::App& app);

/// Completion of a program's options and of their values for a shell, "bash" or "zsh". What an option takes is told by
/// its type name: small letters or digits between bars are choices; FILE, FOLDER and PATTERN, alone or with an ending,
/// are files; all else is left to the user. Throws
/// CLI::ValidationError for another shell.
std::string Completion(const CLI::App& app, const std::string& shell);

}  // namespace nimbrel::host
