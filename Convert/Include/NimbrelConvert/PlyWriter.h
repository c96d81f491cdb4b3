#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "NimbrelConvert/RowLayout.h"

namespace nimbrel::convert {

/// Writes a binary PLY file that appears under its name only when it is whole. A device or a link is written to as it
/// stands. One thread.
class PlyWriter {
public:
    /// A sealed file carries a checksum of its rows in a comment. Throws FileError with the system's reason.
    PlyWriter(const std::filesystem::path& file, std::uint64_t count, int degree, std::span<const std::string> comments,
              bool isSealed = false);
    /// Removes what was not finished.
    ~PlyWriter();
    PlyWriter(const PlyWriter&) = delete;
    PlyWriter& operator=(const PlyWriter&) = delete;

    /// Whole rows as RowLayout tells. Throws FileError.
    void Write(std::span<const float> rows);
    /// Puts the file in its place. Throws FileError; then nothing stands there but what stood before.
    void Finish();

private:
    struct Checksum;
    void Put(const void* bytes, std::size_t size);
    [[noreturn]] void Fail(int error) const;

    std::filesystem::path mFile;
    std::filesystem::path mPart;  ///< what is written; the file itself where it is not replaced
    std::ofstream mStream;
    std::uint64_t mSealPlace = 0;
    std::unique_ptr<Checksum> mChecksum;  ///< null for a file without a seal
    bool mIsFinished = false;
};

/// Whether a file was written sealed, with the comment, and its rows are what was written.
bool IsSealIntact(const std::filesystem::path& file, std::string_view comment);

}  // namespace nimbrel::convert
