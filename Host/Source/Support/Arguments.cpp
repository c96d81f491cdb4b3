#include "NimbrelHost/Support/Arguments.h"

#ifdef _WIN32
#include <windows.h>
// After windows.h
#include <shellapi.h>

#include <filesystem>
#endif

namespace nimbrel::host {

Arguments::Arguments([[maybe_unused]] int argc, [[maybe_unused]] char** argv) {
#ifdef _WIN32
    SetConsoleOutputCP(CP_UTF8);
    // What main is given has lost all characters that the system's code page lacks.
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 0; i < count; ++i) {
        const std::u8string text = std::filesystem::path(wide[i]).u8string();
        mTexts.emplace_back(text.begin(), text.end());
    }
    LocalFree(wide);
#else
    mTexts.assign(argv, argv + argc);
#endif
    for (const std::string& text : mTexts) mPointers.push_back(text.c_str());
    mPointers.push_back(nullptr);
}

}  // namespace nimbrel::host
