#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace nimbrel::host {

/// Names of the frames' files: the last run of `#`, or the last `%04d`, stands for the frame's number, padded with
/// zeros to its length.
class FramePattern {
public:
    enum class Format { Png, Exr };

    /// `start` is the number of frame 0. Throws UsageError for an ending other than .png and .exr.
    explicit FramePattern(std::string pattern, int start = 0);

    Format GetFormat() const { return mFormat; }
    bool HasNumber() const { return mLength > 0; }
    std::filesystem::path Expand(int frame) const;
    const std::string& GetText() const { return mPattern; }

private:
    std::string mPattern;
    int mFirst;
    std::size_t mStart = 0;   ///< what the number replaces
    std::size_t mLength = 0;  ///< 0 for a name without a number
    std::size_t mDigits = 0;
    Format mFormat = Format::Png;
};

}  // namespace nimbrel::host
