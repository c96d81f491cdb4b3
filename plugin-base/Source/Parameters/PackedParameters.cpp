// The packed blob: N as u64, N directory entries of 32 bytes, the names, the structures. Offsets count
// from the blob's first byte; integers are little-endian.
#include <bit>

#include <fmt/format.h>

#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/ParameterPacker.h"

namespace zeb {
namespace {

static_assert(std::endian::native == std::endian::little, "the blob is written and read as it stands in memory");

constexpr std::uint64_t kHeaderSize = 8;
constexpr std::uint64_t kEntrySize = 32;

/// Where a structure and its name lie.
struct DirectoryEntry {
    std::uint64_t mNameOffset = 0;
    std::uint64_t mNameLength = 0;
    std::uint64_t mStructOffset = 0;
    std::uint64_t mStructSize = 0;
};
static_assert(sizeof(DirectoryEntry) == kEntrySize);

}  // namespace

PackedParameters::PackedParameters(const std::byte* data, std::size_t size) {
    // The check is made so that no sum can overflow.
    const auto checkRange = [size](std::uint64_t offset, std::uint64_t length) {
        if (offset > size || length > size - offset)
            ZEB_THROW(kInternalError,
                      fmt::format("The packed parameters are cut short: {} bytes at {} of {}", length, offset, size));
    };
    checkRange(0, kHeaderSize);
    std::uint64_t count = 0;
    std::memcpy(&count, data, sizeof(count));
    // A count that the blob cannot hold must not be multiplied.
    if (count > size / kEntrySize) checkRange(size, kEntrySize);
    checkRange(kHeaderSize, count * kEntrySize);
    for (std::uint64_t i = 0; i < count; ++i) {
        DirectoryEntry entry;
        std::memcpy(&entry, data + kHeaderSize + i * kEntrySize, sizeof(entry));
        checkRange(entry.mNameOffset, entry.mNameLength);
        checkRange(entry.mStructOffset, entry.mStructSize);
        std::string name(static_cast<std::size_t>(entry.mNameLength), '\0');
        if (!name.empty()) std::memcpy(name.data(), data + entry.mNameOffset, name.size());
        mStructs[name] = {.mData = data + entry.mStructOffset, .mSize = static_cast<std::size_t>(entry.mStructSize)};
        mNames.push_back(std::move(name));
    }
}

PackedParameters::Struct PackedParameters::GetStruct(std::string_view name) const {
    const auto found = mStructs.find(name);
    if (found == mStructs.end()) ZEB_THROW(kInternalError, fmt::format("Failed to find packed structure \"{}\"", name));
    return found->second;
}

const std::byte* PackedParameters::GetBytes(std::string_view name, std::size_t size) const {
    const Struct found = GetStruct(name);
    if (found.mSize != size)
        ZEB_THROW(kInternalError,
                  fmt::format("Packed structure \"{}\" has {} bytes instead of {}", name, found.mSize, size));
    return found.mData;
}

const std::byte* PackedParameters::GetRange(std::string_view name, std::size_t offset, std::size_t size) const {
    const Struct found = GetStruct(name);
    if (offset > found.mSize || size > found.mSize - offset)
        ZEB_THROW(kInternalError, fmt::format("Packed structure \"{}\" of {} bytes has no {} bytes at {}", name,
                                              found.mSize, size, offset));
    return found.mData + offset;
}

void ParameterPacker::WriteDirectory(BlobWriter& writer) const {
    const std::uint64_t count = mPackNames.size();
    std::memcpy(writer.AppendZeros(kHeaderSize), &count, kHeaderSize);
    std::uint64_t nameOffset = kHeaderSize + count * kEntrySize;
    // Names come first, then the structures, unpadded.
    std::uint64_t structOffset = nameOffset;
    for (const std::string& name : mPackNames) structOffset += name.size();
    for (const std::string& name : mPackNames) {
        const DirectoryEntry entry{.mNameOffset = nameOffset,
                                   .mNameLength = name.size(),
                                   .mStructOffset = structOffset,
                                   .mStructSize = GetPack(name).mSizeInBytes};
        std::memcpy(writer.AppendZeros(kEntrySize), &entry, kEntrySize);
        nameOffset += entry.mNameLength;
        structOffset += entry.mStructSize;
    }
    for (const std::string& name : mPackNames) writer.Append(name);
}

}  // namespace zeb
