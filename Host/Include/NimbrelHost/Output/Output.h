#pragma once

#include <filesystem>
#include <string_view>

namespace nimbrel::host {

/// "1280x720". Throws UsageError.
void ParseSize(std::string_view text, int& width, int& height);

/// Writes a text file whole; "-" is the standard output. Links, pipes and devices are written through and stay, and so
/// is the file that the standard output goes to. Throws OutputError.
void WriteTextFile(const std::filesystem::path& file, std::string_view text);

/// Makes a folder with its parents; an empty name is the current one. Throws UsageError, after `option`, where
/// something else has that name, and OutputError with the system's reason.
void MakeFolders(std::string_view option, const std::filesystem::path& folder);

}  // namespace nimbrel::host
