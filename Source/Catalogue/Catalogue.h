#pragma once

#include <string_view>

#include "PluginBase/Misc/TextFilesLoader.h"

/// The effect's parameter catalogue and its scripts, carried within the program. Thread: any.

/// The catalogue as one JSON text: `parameters` (753 entries), `packs` (26), `packJSFilenames`. The text is
/// constant data, valid for the process's life.
std::string_view GetCatalogueText();

/// A loader of "Script/PackedParameters.js" and "Script/ProcessParameters.js".
zeb::UniquePtr<zeb::TextFileLoader> MakeTextFileLoader();
