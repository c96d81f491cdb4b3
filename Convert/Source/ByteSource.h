#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>
#include <vector>

namespace nimbrel::convert {

using Bytes = std::vector<std::uint8_t>;

/// Bytes of known number that can be read anywhere. One thread at a time.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    virtual std::uint64_t GetSize() const = 0;
    /// Fills `target` from `offset` on. Throws FormatError where the source ends before.
    void Read(std::uint64_t offset, std::span<std::uint8_t> target);
    /// As many bytes from `offset` on as there are, at most `count`.
    Bytes ReadUpTo(std::uint64_t offset, std::uint64_t count);
    /// All bytes. Throws FormatError above `limit`.
    Bytes ReadAll(std::uint64_t limit);

private:
    virtual void DoRead(std::uint64_t offset, std::span<std::uint8_t> target) = 0;
};

/// A regular file. Throws FileError if it cannot be opened, or is a folder, a pipe or a device.
std::shared_ptr<ByteSource> OpenFile(const std::filesystem::path& file);

std::shared_ptr<ByteSource> MakeMemorySource(Bytes bytes);

/// UTF-8 for messages.
std::string PathText(const std::filesystem::path& path);

}  // namespace nimbrel::convert
