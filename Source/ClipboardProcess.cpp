#include <mutex>

#include "Clipboard.h"

// A clipboard within the process.
namespace {

std::mutex sMutex;

std::u16string& SharedText() {
    static std::u16string text;
    return text;
}

class ProcessClipboard final : public Clipboard {
public:
    std::u16string GetText() override {
        const std::scoped_lock lock(sMutex);
        return SharedText();
    }
    void SetText(const std::u16string& text) override {
        const std::scoped_lock lock(sMutex);
        SharedText() = text;
    }
};

}  // namespace

std::unique_ptr<Clipboard> MakeClipboard() { return std::make_unique<ProcessClipboard>(); }
