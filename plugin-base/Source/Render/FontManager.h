#pragma once

struct FT_LibraryRec_;

namespace zeb::render {

/// The place that is kept for text: opens FreeType with the device and closes it with it. Nothing draws a glyph.
class FontManager {
public:
    FontManager();
    /// A failure to close ends the process: it leaves the library in no known state.
    ~FontManager();
    FontManager(const FontManager&) = delete;
    FontManager& operator=(const FontManager&) = delete;

private:
    void Cleanup();

    FT_LibraryRec_* mLibrary = nullptr;
};

}  // namespace zeb::render
