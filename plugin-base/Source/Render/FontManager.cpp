#include "FontManager.h"

#include <fmt/format.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include "PluginBase/Exception.h"

#define ZEB_FREETYPE_CHECK(call)                                                                            \
    do {                                                                                                    \
        if (const FT_Error zebError = (call); zebError != 0) {                                              \
            ZEB_THROW(kInternalError,                                                                       \
                      fmt::format("Failed to call free type function with error {}: {}", zebError, #call)); \
        }                                                                                                   \
    } while (false)

namespace zeb::render {

FontManager::FontManager() { ZEB_FREETYPE_CHECK(FT_Init_FreeType(&mLibrary)); }

FontManager::~FontManager() { Cleanup(); }

void FontManager::Cleanup() { ZEB_FREETYPE_CHECK(FT_Done_FreeType(mLibrary)); }

}  // namespace zeb::render
