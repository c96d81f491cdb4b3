#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "NimbrelHost/Support/Errors.h"

namespace nimbrel::host {

/// Frames to render, in order: "7", "0-23" or "0-100x10". Throws UsageError.
std::vector<int> ParseFrames(std::string_view text);

/// "1280x720". Throws UsageError.
void ParseSize(std::string_view text, int& width, int& height);

/// Names of the frames' files: the last run of `#` stands for the frame's number, padded with zeros to its length.
class FramePattern {
public:
    enum class Format { Png, Exr };

    /// Throws UsageError for an ending other than .png and .exr.
    explicit FramePattern(std::string pattern);

    Format GetFormat() const { return mFormat; }
    bool HasNumber() const { return mDigits > 0; }
    std::filesystem::path Expand(int frame) const;
    const std::string& GetText() const { return mPattern; }

private:
    std::string mPattern;
    std::size_t mStart = 0;
    std::size_t mDigits = 0;
    Format mFormat = Format::Png;
};

/// Writes a file beside its name and renames it when whole. `write` gets the path to write to and may throw; then
/// nothing is left behind.
template <class Write>
void WriteWhole(const std::filesystem::path& file, Write write);

namespace detail {
std::filesystem::path MakeTemporaryName(const std::filesystem::path& file);
void MoveIntoPlace(const std::filesystem::path& temporary, const std::filesystem::path& file);
/// The message with the name of the file that was asked for.
std::string NameFile(std::string message, const std::filesystem::path& temporary, const std::filesystem::path& file);
}  // namespace detail

template <class Write>
void WriteWhole(const std::filesystem::path& file, Write write) {
    const std::filesystem::path temporary = detail::MakeTemporaryName(file);
    try {
        write(temporary);
        detail::MoveIntoPlace(temporary, file);
    } catch (const OutputError& error) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        throw OutputError(detail::NameFile(error.what(), temporary, file));
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        throw;
    }
}

/// Writes a text file whole. Throws OutputError.
void WriteTextFile(const std::filesystem::path& file, std::string_view text);

}  // namespace nimbrel::host
