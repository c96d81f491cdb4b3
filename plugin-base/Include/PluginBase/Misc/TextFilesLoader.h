#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "PluginBase/Misc/Hash.h"
#include "PluginBase/Misc/MakeUnique.h"

/// Texts that the program carries within itself, found by file name. Nothing is read from disk.
namespace zeb {

class TextFileInfo {
public:
    virtual ~TextFileInfo() = default;
    /// The whole text. The view points into constant data and stays valid for the process's life.
    virtual std::string_view GetText() const = 0;
};

/// One stored text. Both views must refer to constant data.
struct EmbeddedTextFile {
    std::string_view name;
    std::string_view text;
};

class TextFileLoader {
public:
    /// `files` are the program's stored texts; names are exact (case matters, separator is '/').
    TextFileLoader(const EmbeddedTextFile* files, std::size_t count);

    /// A new handle on the text named `name`. Thread: any. Throws zeb::Exception for an unknown name.
    UniquePtr<TextFileInfo> GetFile(std::u16string_view name) const;

private:
    std::unordered_map<std::string, std::string_view, StringHash, std::equal_to<>> mFiles;
};

}  // namespace zeb
