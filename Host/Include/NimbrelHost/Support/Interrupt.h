#pragma once

#include <cstddef>
#include <filesystem>

namespace nimbrel::host {

/// The user's wish to stop, process-wide. The effect learns of it when it reports progress or asks for an abort.
/// RequestInterrupt may be called from a signal handler.
void RequestInterrupt() noexcept;
void ClearInterrupt() noexcept;
bool IsInterrupted() noexcept;

/// From now on the terminal's interrupt (and a request to end, or to close the console's window) stops the work. What
/// has not come to its end by itself half a second later, or at the second such request, ends at once, with
/// `lastWords` on standard error, GetInterruptCode as its code, and without the files of UnfinishedFile. `lastWords`
/// must stay.
void CatchInterrupts(const char* lastWords) noexcept;

/// What a program that was stopped ends with: 128 and the signal's number, 130 where no signal asked.
int GetInterruptCode() noexcept;

/// A file that is of no use before it is whole, as long as this object lives: goes with a process that is stopped. Some
/// dozens at once; further ones, and longer names than systems take, stay behind. Any thread.
class UnfinishedFile {
public:
    UnfinishedFile() = default;
    explicit UnfinishedFile(const std::filesystem::path& file) noexcept;
    ~UnfinishedFile() { Release(); }
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    /// The file is whole or gone.
    void Release() noexcept;

private:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    std::size_t mPlace = kNone;
};

}  // namespace nimbrel::host
