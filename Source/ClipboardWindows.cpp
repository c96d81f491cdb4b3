#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <cstring>

#include "Clipboard.h"

namespace {

/// The clipboard while it is open.
class OpenedClipboard {
public:
    OpenedClipboard() : mOpen(OpenClipboard(nullptr) != 0) {}
    ~OpenedClipboard() {
        if (mOpen) CloseClipboard();
    }
    OpenedClipboard(const OpenedClipboard&) = delete;
    OpenedClipboard& operator=(const OpenedClipboard&) = delete;

    explicit operator bool() const { return mOpen; }

private:
    bool mOpen;
};

class WindowsClipboard final : public Clipboard {
public:
    std::u16string GetText() override {
        const OpenedClipboard clipboard;
        if (!clipboard) return {};
        const HANDLE handle = GetClipboardData(CF_UNICODETEXT);
        if (handle == nullptr) return {};
        const void* data = GlobalLock(handle);
        if (data == nullptr) return {};
        // The memory may be larger than its text, and the text of another program may lack its end.
        std::u16string text(GlobalSize(handle) / sizeof(char16_t), u'\0');
        std::memcpy(text.data(), data, text.size() * sizeof(char16_t));
        GlobalUnlock(handle);
        if (const std::size_t end = text.find(u'\0'); end != std::u16string::npos) text.resize(end);
        return text;
    }

    void SetText(const std::u16string& text) override {
        const OpenedClipboard clipboard;
        if (!clipboard || EmptyClipboard() == 0) return;
        const std::size_t size = (text.size() + 1) * sizeof(char16_t);
        const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, size);
        if (memory == nullptr) return;
        if (void* data = GlobalLock(memory)) {
            std::memcpy(data, text.c_str(), size);
            GlobalUnlock(memory);
            // What the clipboard took is the system's.
            if (SetClipboardData(CF_UNICODETEXT, memory) != nullptr) return;
        }
        GlobalFree(memory);
    }
};

}  // namespace

std::unique_ptr<Clipboard> MakeClipboard() { return std::make_unique<WindowsClipboard>(); }
