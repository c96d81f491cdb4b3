#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Nimbrel/PLYFileReader.h"

namespace nimbrel::importer {

/// Why the effect would not draw a file.
struct Refusal {
    std::string mTitle;   ///< a few words, for a picture
    std::string mReason;  ///< what the file is, to follow "Not drawn: "
};

/// What the front of a PLY file says.
struct PlyInspection {
    std::optional<Refusal> mRefusal;
    PLYFileData mLayout;            ///< without data; all zero for a refused file
    std::uint64_t mFileSize = 0;    ///< bytes
    std::uint64_t mBodyOffset = 0;  ///< bytes

    /// Whole splats that the file holds, at most as many as its header says.
    std::uint64_t CountStored() const;
};

/// Whether the file begins as every PLY file does. False too for one that cannot be opened.
bool IsPly(const std::u16string& path);

/// Looks at a file's header, as far as a quarter of a megabyte, so that no file takes long. Nothing if the file cannot
/// be opened.
std::optional<PlyInspection> Inspect(const std::u16string& path);

}  // namespace nimbrel::importer
