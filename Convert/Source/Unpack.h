#pragma once

#include <cstdint>
#include <span>

#include "ByteSource.h"

namespace nimbrel::convert {

/// Unfolds a gzip stream step by step, so that memory follows what the stream holds and not what it claims.
class GzipStream {
public:
    explicit GzipStream(std::span<const std::uint8_t> packed);
    ~GzipStream();
    GzipStream(const GzipStream&) = delete;
    GzipStream& operator=(const GzipStream&) = delete;

    /// The next `count` bytes. Throws FormatError where the stream ends before or is broken.
    Bytes Read(std::uint64_t count);

private:
    struct State;
    std::unique_ptr<State> mState;
};

/// The first `count` bytes of a gzip stream, whose room is taken at once: `count` must be one that was found likely.
/// Throws FormatError where the stream ends before or is broken.
Bytes UnpackGzip(std::span<const std::uint8_t> packed, std::uint64_t count);

/// The `count` bytes that a zstd frame unfolds to. Throws FormatError if it is broken or holds another number.
Bytes UnpackZstd(std::span<const std::uint8_t> packed, std::uint64_t count);

}  // namespace nimbrel::convert
