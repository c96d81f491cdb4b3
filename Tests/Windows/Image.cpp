#include "Image.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace nimbrel::test {

Image::Image(const std::string& file)
    : mModule(LoadLibraryExW(std::filesystem::path(file).c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES)),
      mBase(reinterpret_cast<const std::uint8_t*>(mModule)) {
    if (mModule != nullptr) return;
    std::fprintf(stderr, "%s: cannot be mapped\n", file.c_str());
    std::abort();
}

std::uint32_t Image::GetDirectory(int index) const {
    const auto* header = At<IMAGE_NT_HEADERS64>(static_cast<std::uint32_t>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
    return header->OptionalHeader.DataDirectory[index].VirtualAddress;
}

std::set<std::string> Image::GetExports() const {
    std::set<std::string> names;
    const std::uint32_t directory = GetDirectory(IMAGE_DIRECTORY_ENTRY_EXPORT);
    if (directory == 0) return names;
    const auto* table = At<IMAGE_EXPORT_DIRECTORY>(directory);
    const auto* addresses = At<DWORD>(table->AddressOfNames);
    for (DWORD i = 0; i < table->NumberOfNames; ++i) names.insert(At<char>(addresses[i]));
    return names;
}

std::set<std::string> Image::GetImports() const {
    std::set<std::string> names;
    const auto* entry = At<IMAGE_IMPORT_DESCRIPTOR>(GetDirectory(IMAGE_DIRECTORY_ENTRY_IMPORT));
    for (; entry->Name != 0; ++entry) {
        std::string name = At<char>(entry->Name);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        names.insert(name);
    }
    return names;
}

std::string Image::GetResource(const wchar_t* type, int id) const {
    const HRSRC found = FindResourceW(mModule, MAKEINTRESOURCEW(id), type);
    if (found == nullptr) return {};
    const void* bytes = LockResource(LoadResource(mModule, found));
    return {static_cast<const char*>(bytes), SizeofResource(mModule, found)};
}

}  // namespace nimbrel::test
