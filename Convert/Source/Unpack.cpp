#include "Unpack.h"

#include <algorithm>
#include <limits>

#include <fmt/format.h>
#include <zlib.h>
#include <zstd.h>
#ifdef NIMBREL_HAS_LIBDEFLATE
#include <libdeflate.h>
#endif

#include "NimbrelConvert/Errors.h"

namespace nimbrel::convert {
namespace {

// What is made room for before anything was unfolded.
constexpr std::uint64_t kFirstBlock = std::uint64_t{16} << 20;

/// Grows `bytes` to `count` in steps; `fill` writes from a place on and says how many bytes it wrote, 0 at the end.
template <class Fill>
void FillGrowing(Bytes& bytes, std::uint64_t count, Fill&& fill) {
    std::uint64_t have = 0;
    while (have < count) {
        if (have == bytes.size()) {
            bytes.resize(static_cast<std::size_t>(std::min(count, std::max(kFirstBlock, 2 * have))));
        }
        const std::uint64_t got = fill(std::span(bytes).subspan(static_cast<std::size_t>(have)));
        if (got == 0) throw FormatError(fmt::format("its packed data ends after {} of {} bytes", have, count));
        have += got;
    }
}

}  // namespace

struct GzipStream::State {
    z_stream mStream{};
    std::span<const std::uint8_t> mPacked;
    bool mIsAtEnd = false;
};

GzipStream::GzipStream(std::span<const std::uint8_t> packed) : mState(std::make_unique<State>()) {
    mState->mPacked = packed;
    constexpr int kGzipOnly = 16;
    if (inflateInit2(&mState->mStream, MAX_WBITS + kGzipOnly) != Z_OK) throw std::bad_alloc();
}

GzipStream::~GzipStream() { inflateEnd(&mState->mStream); }

Bytes GzipStream::Read(std::uint64_t count) {
    z_stream& stream = mState->mStream;
    constexpr std::size_t kStep = std::numeric_limits<uInt>::max() / 2;
    Bytes bytes;
    FillGrowing(bytes, count, [&](std::span<std::uint8_t> room) -> std::uint64_t {
        while (!mState->mIsAtEnd) {
            if (stream.avail_in == 0) {
                const std::size_t take = std::min(kStep, mState->mPacked.size());
                stream.next_in = const_cast<Bytef*>(mState->mPacked.data());
                stream.avail_in = static_cast<uInt>(take);
                mState->mPacked = mState->mPacked.subspan(take);
            }
            const std::size_t want = std::min(kStep, room.size());
            stream.next_out = room.data();
            stream.avail_out = static_cast<uInt>(want);
            const bool hasInput = stream.avail_in != 0;
            const int result = inflate(&stream, Z_NO_FLUSH);
            if (result == Z_MEM_ERROR) throw std::bad_alloc();
            if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
                throw FormatError("its gzip data is broken");
            }
            mState->mIsAtEnd = result == Z_STREAM_END || (!hasInput && stream.avail_out == want);
            if (stream.avail_out != want) return want - stream.avail_out;
        }
        return 0;
    });
    return bytes;
}

#ifdef NIMBREL_HAS_LIBDEFLATE
// Twice as fast as zlib, but all at once or not at all: what is broken, or longer than it should be, is left to zlib.
Bytes UnpackGzip(std::span<const std::uint8_t> packed, std::uint64_t count) {
    Bytes bytes(static_cast<std::size_t>(count));
    const std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)> library(
        libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
    if (!library) throw std::bad_alloc();
    const libdeflate_result result =
        libdeflate_gzip_decompress(library.get(), packed.data(), packed.size(), bytes.data(), bytes.size(), nullptr);
    return result == LIBDEFLATE_SUCCESS ? bytes : GzipStream(packed).Read(count);
}
#else
Bytes UnpackGzip(std::span<const std::uint8_t> packed, std::uint64_t count) { return GzipStream(packed).Read(count); }
#endif

Bytes UnpackZstd(std::span<const std::uint8_t> packed, std::uint64_t count) {
    const std::unique_ptr<ZSTD_DStream, decltype(&ZSTD_freeDStream)> stream(ZSTD_createDStream(), ZSTD_freeDStream);
    if (!stream) throw std::bad_alloc();
    Bytes bytes;
    ZSTD_inBuffer in{packed.data(), packed.size(), 0};
    bool isDone = false;
    FillGrowing(bytes, count, [&](std::span<std::uint8_t> room) -> std::uint64_t {
        ZSTD_outBuffer out{room.data(), room.size(), 0};
        while (!isDone && out.pos == 0) {
            const std::size_t taken = in.pos;
            const std::size_t result = ZSTD_decompressStream(stream.get(), &out, &in);
            if (ZSTD_isError(result)) {
                throw FormatError(fmt::format("its zstd data is broken: {}", ZSTD_getErrorName(result)));
            }
            isDone = result == 0 || (out.pos == 0 && in.pos == taken);
        }
        return out.pos;
    });
    return bytes;
}

}  // namespace nimbrel::convert
