#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Nimbrel/CacheableAsset.h"

/// Texts of the dialog "Model Info".

/// Groups of three digits with blanks between; up to 1000 the number and one blank.
std::string FormatCount(std::uint64_t value);

/// Three significant digits and a unit, by powers of 1000: "1.23 MB".
std::string FormatBytes(std::uint64_t bytes);

/// What the dialog says of the model at `path` (UTF-8). Bounds are shown in pixels.
std::string FormatModelInfo(std::string_view path, const CacheableAsset& model, std::string_view renderInfo);
