#include "NimbrelHost/Commands/SharedLibrary.h"

#include <fmt/format.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace nimbrel::host {

#ifdef _WIN32
void* OpenLibrary(const std::filesystem::path& file, std::string& error) {
    void* const library = LoadLibraryW(file.c_str());
    if (library == nullptr) error = fmt::format("system error {}", GetLastError());
    return library;
}

void* FindSymbol(void* library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}
#else
void* OpenLibrary(const std::filesystem::path& file, std::string& error) {
    // Without a slash the loader would search its own folders.
    void* const library = dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) error = dlerror();
    return library;
}

void* FindSymbol(void* library, const char* name) { return dlsym(library, name); }
#endif

}  // namespace nimbrel::host
