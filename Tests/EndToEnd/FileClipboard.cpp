// The clipboard of the effect that the tests press Copy and Paste of: a file that they can read, write and take away.
#include "Clipboard.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "PluginBase/AE/TextAE.h"

namespace {

class FileClipboard final : public Clipboard {
public:
    std::u16string GetText() override {
        std::ifstream file(NIMBREL_TEST_CLIPBOARD, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        return zeb::ToUtf16(bytes);
    }
    void SetText(const std::u16string& text) override {
        std::ofstream(NIMBREL_TEST_CLIPBOARD, std::ios::binary) << zeb::ToUtf8(text);
    }
};

}  // namespace

std::unique_ptr<Clipboard> MakeClipboard() { return std::make_unique<FileClipboard>(); }
