#include "PluginBase/Misc/TextFilesLoader.h"

#include <iterator>

#include <fmt/format.h>
#include <utf8.h>

#include "PluginBase/Exception.h"

namespace zeb {
namespace {

class EmbeddedTextFileInfo final : public TextFileInfo {
public:
    explicit EmbeddedTextFileInfo(std::string_view text) : mText(text) {}
    std::string_view GetText() const override { return mText; }

private:
    std::string_view mText;
};

}  // namespace

TextFileLoader::TextFileLoader(const EmbeddedTextFile* files, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) mFiles.emplace(files[i].name, files[i].text);
}

UniquePtr<TextFileInfo> TextFileLoader::GetFile(std::u16string_view name) const {
    std::string narrow;
    utf8::utf16to8(name.begin(), name.end(), std::back_inserter(narrow));
    const auto found = mFiles.find(narrow);
    if (found == mFiles.end()) ZEB_THROW(kInternalError, fmt::format("Failed to open text file \"{}\"", narrow));
    return MakeUnique<EmbeddedTextFileInfo>(found->second);
}

}  // namespace zeb
