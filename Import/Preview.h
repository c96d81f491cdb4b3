#pragma once

#include <memory>
#include <string>

#include "Picture.h"

namespace nimbrel::importer {

/// What the host's project panel shows of a file.
struct Preview {
    std::string mName, mKind, mDetails;
    Picture mPicture;
};

/// The preview of a PLY file; null for a folder and what cannot be read. Previews of the last files are kept as long as
/// size and time of the file stay. Any thread, several at once: one that asks for what another thread makes waits for
/// it. Throws std::bad_alloc, which is not remembered.
std::shared_ptr<const Preview> GetPreview(const std::u16string& path);

/// The same, made anew and not kept.
std::shared_ptr<const Preview> MakePreview(const std::u16string& path);

}  // namespace nimbrel::importer
