#pragma once

#include <memory>
#include <string>

#include "ByteSource.h"

namespace nimbrel::convert {

/// Named files that lie together, in a folder or a zip archive. Nothing is ever written to a disk.
class Package {
public:
    virtual ~Package() = default;
    /// The file's bytes. Throws FormatError if there is none, its name leads out of the package, or it is broken.
    Bytes Load(const std::string& name);
    /// Bytes that were read to give what Load gave, before unfolding.
    virtual std::uint64_t GetPackedSize() const = 0;

private:
    virtual Bytes DoLoad(const std::string& name) = 0;
};

std::unique_ptr<Package> OpenFolderPackage(const std::filesystem::path& folder);

/// Throws FormatError for an archive that is broken or has entries whose names lead out of it.
std::unique_ptr<Package> OpenZipPackage(Bytes archive);

/// Throws FormatError for a name that is absolute or leads out of its folder.
void CheckInnerName(const std::string& name);

}  // namespace nimbrel::convert
