#pragma once

#include <memory>
#include <string>

/// Where copied text goes. On the interface thread. Nothing throws: what fails does nothing.
class Clipboard {
public:
    Clipboard() = default;
    virtual ~Clipboard() = default;
    Clipboard(const Clipboard&) = delete;
    Clipboard& operator=(const Clipboard&) = delete;

    /// Empty when there is no text.
    virtual std::u16string GetText() = 0;
    virtual void SetText(const std::u16string& text) = 0;
};

/// The operating system's; where the effect knows none, a text that all effects of the process share.
std::unique_ptr<Clipboard> MakeClipboard();
