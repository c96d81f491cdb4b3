#include "Commands/ImporterEntry.h"

#include <fmt/format.h>

#include <cstring>
#include <string>

#include "NimbrelHost/Commands/SharedLibrary.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace nimbrel::host {
namespace {

#ifdef _WIN32

/// A property's data in the resource that declares a plug-in: little-endian; a head of u16 1, u32 0 and u32 count, then
/// for each property vendor and key, four characters each in reverse, u32 0, u32 length and the data.
std::string FindProperty(const std::string& resource, const std::string& key) {
    const auto number = [&](std::size_t at) {
        std::uint32_t value = 0;
        std::memcpy(&value, resource.data() + at, sizeof(value));
        return value;
    };
    for (std::size_t at = 10; at + 16 <= resource.size();) {
        const std::size_t length = number(at + 12);
        if (length > resource.size() - at - 16) break;
        if (resource.substr(at + 4, 4) == std::string(key.rbegin(), key.rend()))
            return resource.substr(at + 16, length);
        at += 16 + length;
    }
    return {};
}

std::string ReadResource(void* library) {
    const auto module = static_cast<HMODULE>(library);
    const HRSRC place = FindResourceW(module, MAKEINTRESOURCEW(16000), L"PiPL");
    const HGLOBAL resource = place == nullptr ? nullptr : LoadResource(module, place);
    const void* const bytes = resource == nullptr ? nullptr : LockResource(resource);
    return bytes == nullptr ? std::string()
                            : std::string(static_cast<const char*>(bytes), SizeofResource(module, place));
}

/// The entry point's name; empty for a file that declares no general plug-in.
std::string FindEntryName(void* library) {
    constexpr std::uint32_t kind = AEGP_PLUGIN_TYPE;
    const std::string resource = ReadResource(library);
    if (FindProperty(resource, "kind") != std::string(reinterpret_cast<const char*>(&kind), sizeof(kind))) return {};
    return FindProperty(resource, "8664").c_str();
}

#else

std::string FindEntryName(void*) { return "EntryPointFunc"; }

#endif

}  // namespace

ImporterEntry FindImporterEntry(const std::filesystem::path& file) {
    const std::string where = PathText(file);
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) {
        throw UsageError(
            fmt::format("{}: expected the importer library, but there is no such file (see --importer)", where));
    }
    std::string error;
    void* const library = OpenLibrary(file, error);
    if (library == nullptr) throw UsageError(fmt::format("{}: expected a loadable importer library: {}", where, error));
    const std::string name = FindEntryName(library);
    const auto entry = reinterpret_cast<ImporterEntry>(name.empty() ? nullptr : FindSymbol(library, name.c_str()));
    if (entry == nullptr) throw UsageError(fmt::format("{}: expected an importer library, but it has no entry", where));
    return entry;
}

}  // namespace nimbrel::host
