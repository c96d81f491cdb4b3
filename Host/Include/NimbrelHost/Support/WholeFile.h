#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "NimbrelHost/Support/Interrupt.h"

namespace nimbrel::host {

/// A file that appears under its name only when it is whole. It is written in the same folder under a name that nobody
/// can foresee, created anew and never through a link, and renamed at the end; what is not committed is removed. One
/// thread at a time.
class WholeFile {
public:
    /// Throws OutputError with the system's reason.
    explicit WholeFile(std::filesystem::path file);
    ~WholeFile();
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;

    /// Throws OutputError with the system's reason.
    void Write(const void* data, std::size_t size);
    /// Where the next byte goes, counted from the file's start.
    std::uint64_t GetPosition() const;
    void SetPosition(std::uint64_t position);

    /// Waits until the bytes are with the system's disks and gives the file its name. Throws OutputError.
    void Commit();

    /// Throws OutputError of this file: "shot.0001.png: cannot be written: No space left on device".
    [[noreturn]] void Fail(int error) const;

private:
    std::filesystem::path mFile;
    std::filesystem::path mPart;
    std::FILE* mStream = nullptr;
    std::optional<UnfinishedFile> mUnfinished;
};

/// Removes what runs that were killed left of the files with these names in a folder. What another process writes at
/// this moment stays.
void RemoveStaleParts(const std::filesystem::path& folder, const std::set<std::string>& names);

/// The system's words for an error number: "No space left on device".
std::string DescribeError(int error);

/// Writes to the program's standard output and sees that it arrives. Throws OutputError.
void WriteStandardOutput(std::string_view text);

/// Whether a name stands for the file that is this program's standard output.
bool IsStandardOutput(const std::filesystem::path& file);

}  // namespace nimbrel::host
