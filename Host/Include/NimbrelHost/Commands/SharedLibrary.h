#pragma once

#include <filesystem>
#include <string>

namespace nimbrel::host {

/// Loads a plug-in's file, for good: values and threads of its own may outlive what it was loaded for. Null with the
/// system's reason in `error` if it cannot be loaded.
void* OpenLibrary(const std::filesystem::path& file, std::string& error);

/// An exported function's address; null if there is none.
void* FindSymbol(void* library, const char* name);

}  // namespace nimbrel::host
