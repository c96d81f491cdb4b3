#include "Clipboard.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <future>
#include <thread>

namespace {

void PutBytes(UINT format, const void* bytes, std::size_t size) {
    ASSERT_NE(OpenClipboard(nullptr), 0);
    EmptyClipboard();
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, size);
    std::memcpy(GlobalLock(memory), bytes, size);
    GlobalUnlock(memory);
    SetClipboardData(format, memory);
    CloseClipboard();
}

TEST(WindowsClipboard, GivesBackWhatWasSet) {
    const std::unique_ptr<Clipboard> clipboard = MakeClipboard();
    for (const std::u16string& text : {std::u16string(u"[{\"id\":7}]"), std::u16string(u"Größe 模型 \U0001F600"),
                                       std::u16string(100000, u'x'), std::u16string()}) {
        clipboard->SetText(text);
        EXPECT_EQ(MakeClipboard()->GetText(), text);
    }
}

TEST(WindowsClipboard, ReadsOtherProgramsTextToItsEndAndNothingElse) {
    const std::unique_ptr<Clipboard> clipboard = MakeClipboard();
    PutBytes(CF_UNICODETEXT, u"ab\0cd", 12);
    EXPECT_EQ(clipboard->GetText(), u"ab");
    PutBytes(CF_DIB, "picture", 7);
    EXPECT_EQ(clipboard->GetText(), u"");
}

TEST(WindowsClipboard, DoesNothingWhileAnotherHoldsIt) {
    const std::unique_ptr<Clipboard> clipboard = MakeClipboard();
    clipboard->SetText(u"before");
    std::promise<void> held, done;
    std::thread holder([&] {
        const HWND window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        EXPECT_NE(OpenClipboard(window), 0);
        held.set_value();
        done.get_future().wait();
        CloseClipboard();
        DestroyWindow(window);
    });
    held.get_future().wait();
    EXPECT_EQ(clipboard->GetText(), u"");
    clipboard->SetText(u"lost");
    done.set_value();
    holder.join();
    EXPECT_EQ(clipboard->GetText(), u"before");
}

}  // namespace
