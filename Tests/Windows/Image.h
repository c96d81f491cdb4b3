#pragma once

#include <windows.h>

#include <cstdint>
#include <set>
#include <string>

/// A program or library of Windows, mapped as the system maps it but not run.
namespace nimbrel::test {

class Image {
public:
    /// Ends the test program if the file cannot be mapped.
    explicit Image(const std::string& file);
    /// As long as it is mapped so, loading the file would give the same, without its imports.
    ~Image() { FreeLibrary(mModule); }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    std::set<std::string> GetExports() const;
    /// Names of libraries in lower case.
    std::set<std::string> GetImports() const;
    /// The bytes of a resource; empty if there is none.
    std::string GetResource(const wchar_t* type, int id) const;

private:
    template <typename T>
    const T* At(std::uint32_t address) const {
        return reinterpret_cast<const T*>(mBase + address);
    }
    std::uint32_t GetDirectory(int index) const;

    HMODULE mModule;
    const std::uint8_t* mBase;
};

}  // namespace nimbrel::test
