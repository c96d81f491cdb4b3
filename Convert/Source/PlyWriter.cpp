#include "NimbrelConvert/PlyWriter.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <random>
#include <system_error>

#include <fmt/format.h>
#define XXH_INLINE_ALL
#include <xxhash.h>

#include "ByteSource.h"
#include "Formats/PlyHeader.h"
#include "NimbrelConvert/Errors.h"

namespace nimbrel::convert {
namespace {

constexpr std::string_view kSeal = "sealed ";
constexpr std::size_t kSealDigits = 16;

bool IsReplaced(const std::filesystem::path& file) {
    std::error_code ignored;
    return !std::filesystem::is_other(std::filesystem::status(file, ignored)) &&
           !std::filesystem::is_symlink(std::filesystem::symlink_status(file, ignored));
}

// In the same folder, since only within one file system does a rename replace a file at once; of a name that no other
// process takes, whichever machine it runs on.
std::filesystem::path MakePartName(const std::filesystem::path& file) {
    static const unsigned process = std::random_device()();
    static std::atomic<unsigned> counter{0};
    std::u8string name = u8"." + file.filename().u8string();
    const std::string end = fmt::format(".{:08x}-{}.part", process, counter++);
    name.append(end.begin(), end.end());
    return file.parent_path() / name;
}

}  // namespace

struct PlyWriter::Checksum {
    Checksum() { XXH3_64bits_reset(&mState); }
    XXH3_state_t mState{};
};

PlyWriter::PlyWriter(const std::filesystem::path& file, std::uint64_t count, int degree,
                     std::span<const std::string> comments, bool isSealed)
    : mFile(file), mPart(IsReplaced(file) ? MakePartName(file) : file) {
    std::vector<std::string> all(comments.begin(), comments.end());
    if (isSealed) all.push_back(std::string(kSeal) + std::string(kSealDigits, '0'));
    const std::string header = MakePlyHeader(static_cast<long long>(count), degree, all);
    if (isSealed) {
        mSealPlace = header.find("comment " + std::string(kSeal)) + 8 + kSeal.size();
        mChecksum = std::make_unique<Checksum>();
    }
    errno = 0;
    // Blocks are large enough to go to the system as they are.
    mStream.rdbuf()->pubsetbuf(nullptr, 0);
    mStream.open(mPart, std::ios::binary);
    if (!mStream) Fail(errno);
    Put(header.data(), header.size());
}

PlyWriter::~PlyWriter() {
    if (mIsFinished || mPart == mFile) return;
    mStream.close();
    std::error_code ignored;
    std::filesystem::remove(mPart, ignored);
}

void PlyWriter::Write(std::span<const float> rows) {
    if (mChecksum) XXH3_64bits_update(&mChecksum->mState, rows.data(), rows.size_bytes());
    Put(rows.data(), rows.size_bytes());
}

void PlyWriter::Finish() {
    if (mChecksum) {
        const std::string seal =
            fmt::format("{:0{}x}", static_cast<std::uint64_t>(XXH3_64bits_digest(&mChecksum->mState)), kSealDigits);
        mStream.seekp(static_cast<std::streamoff>(mSealPlace));
        Put(seal.data(), seal.size());
    }
    errno = 0;
    mStream.close();
    if (!mStream) Fail(errno);
    if (mPart != mFile) {
        std::error_code error;
        std::filesystem::rename(mPart, mFile, error);
        if (error) throw FileError(fmt::format("\"{}\": it cannot be written: {}", PathText(mFile), error.message()));
    }
    mIsFinished = true;
}

void PlyWriter::Put(const void* bytes, std::size_t size) {
    errno = 0;
    if (!mStream.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(size))) Fail(errno);
}

void PlyWriter::Fail(int error) const {
    const std::string reason = error == 0 ? "the system gives no reason" : std::generic_category().message(error);
    throw FileError(fmt::format("\"{}\": it cannot be written: {}", PathText(mFile), reason));
}

bool IsSealIntact(const std::filesystem::path& file, std::string_view comment) {
    try {
        const std::shared_ptr<ByteSource> source = OpenFile(file);
        const PlyHeader header = ReadPlyHeader(*source);
        if (std::find(header.mComments.begin(), header.mComments.end(), comment) == header.mComments.end())
            return false;
        if (header.mElements.size() != 1 || !header.mComments.back().starts_with(kSeal)) return false;
        const std::uint64_t size = header.mElements[0].mCount * header.mElements[0].GetStride().value_or(0);
        if (source->GetSize() - header.mBody != size) return false;
        XXH3_state_t state;
        XXH3_64bits_reset(&state);
        constexpr std::uint64_t kBlock = std::uint64_t{4} << 20;
        for (std::uint64_t at = header.mBody; at < source->GetSize(); at += kBlock) {
            const Bytes block = source->ReadUpTo(at, kBlock);
            XXH3_64bits_update(&state, block.data(), block.size());
        }
        return header.mComments.back() ==
               fmt::format("{}{:0{}x}", kSeal, static_cast<std::uint64_t>(XXH3_64bits_digest(&state)), kSealDigits);
    } catch (const ConvertError&) {
        return false;
    }
}

}  // namespace nimbrel::convert
