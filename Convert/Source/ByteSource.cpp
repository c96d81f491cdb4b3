#include "ByteSource.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

#include <fmt/format.h>

#include "NimbrelConvert/Errors.h"

namespace nimbrel::convert {
namespace {

class FileSource : public ByteSource {
public:
    explicit FileSource(const std::filesystem::path& file) {
        std::error_code error;
        const std::filesystem::file_status status = std::filesystem::status(file, error);
        if (!std::filesystem::exists(status)) throw FileError("there is no such file");
        // A pipe waits for its writer, and a device may have no end.
        if (!std::filesystem::is_regular_file(status)) throw FileError("it is a folder or a device, not a file");
        errno = 0;
        mStream.open(file, std::ios::binary);
        if (!mStream) throw FileError("it cannot be opened: " + std::generic_category().message(errno));
        mStream.seekg(0, std::ios::end);
        mSize = static_cast<std::uint64_t>(std::max<std::streamoff>(mStream.tellg(), 0));
    }

    std::uint64_t GetSize() const override { return mSize; }

private:
    void DoRead(std::uint64_t offset, std::span<std::uint8_t> target) override {
        mStream.clear();
        if (offset != mPlace) mStream.seekg(static_cast<std::streamoff>(offset));
        mStream.read(reinterpret_cast<char*>(target.data()), static_cast<std::streamsize>(target.size()));
        if (!mStream) throw FormatError("it became shorter while it was read");
        mPlace = offset + target.size();
    }

    std::ifstream mStream;
    std::uint64_t mSize = 0;
    std::uint64_t mPlace = ~std::uint64_t{0};
};

class MemorySource : public ByteSource {
public:
    explicit MemorySource(Bytes bytes) : mBytes(std::move(bytes)) {}
    std::uint64_t GetSize() const override { return mBytes.size(); }

private:
    void DoRead(std::uint64_t offset, std::span<std::uint8_t> target) override {
        std::memcpy(target.data(), mBytes.data() + offset, target.size());
    }

    Bytes mBytes;
};

}  // namespace

void ByteSource::Read(std::uint64_t offset, std::span<std::uint8_t> target) {
    if (target.empty()) return;
    if (offset > GetSize() || target.size() > GetSize() - offset) {
        throw FormatError(fmt::format("it is cut short: {} bytes are wanted from byte {} on, but it has {}",
                                      target.size(), offset, GetSize()));
    }
    DoRead(offset, target);
}

Bytes ByteSource::ReadUpTo(std::uint64_t offset, std::uint64_t count) {
    const std::uint64_t left = GetSize() - std::min(offset, GetSize());
    Bytes bytes(static_cast<std::size_t>(std::min(left, count)));
    Read(offset, bytes);
    return bytes;
}

Bytes ByteSource::ReadAll(std::uint64_t limit) {
    if (GetSize() > limit) {
        throw FormatError(fmt::format("it has {} bytes, but at most {} are expected", GetSize(), limit));
    }
    return ReadUpTo(0, GetSize());
}

std::shared_ptr<ByteSource> OpenFile(const std::filesystem::path& file) { return std::make_shared<FileSource>(file); }

std::shared_ptr<ByteSource> MakeMemorySource(Bytes bytes) { return std::make_shared<MemorySource>(std::move(bytes)); }

std::string PathText(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

}  // namespace nimbrel::convert
