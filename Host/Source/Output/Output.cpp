#include "NimbrelHost/Output/Output.h"

#include <fmt/format.h>

#include <atomic>
#include <charconv>
#include <fstream>

#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"

#ifdef _WIN32
#include <process.h>
#else
#include <unistd.h>
#endif

namespace nimbrel::host {
namespace {

// Seven digits: at 1000 frames a second still hours.
constexpr int kMaxFrame = 9999999;

/// Takes a whole number off the front of the text.
bool TakeNumber(std::string_view& text, int& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || number < 0 || number > kMaxFrame || text[0] == '-') return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

bool TakeCharacter(std::string_view& text, char character) {
    if (text.empty() || text[0] != character) return false;
    text.remove_prefix(1);
    return true;
}

// Two programs may write into one folder.
int ProcessId() {
#ifdef _WIN32
    return _getpid();
#else
    return static_cast<int>(getpid());
#endif
}

}  // namespace

std::vector<int> ParseFrames(std::string_view text) {
    std::string_view rest = text;
    int first = 0, last = 0, step = 1;
    bool good = TakeNumber(rest, first);
    last = first;
    if (good && TakeCharacter(rest, '-')) {
        good = TakeNumber(rest, last);
        if (good && TakeCharacter(rest, 'x')) good = TakeNumber(rest, step);
    }
    if (!good || !rest.empty() || last < first || step < 1) {
        throw UsageError(
            fmt::format("--frames: expected A, A-B or A-BxS with A not above B and none above {}, but it is "
                        "\"{}\"",
                        kMaxFrame, text));
    }
    std::vector<int> frames;
    for (int frame = first; frame <= last; frame += step) frames.push_back(frame);
    return frames;
}

void ParseSize(std::string_view text, int& width, int& height) {
    std::string_view rest = text;
    const bool good = TakeNumber(rest, width) && TakeCharacter(rest, 'x') && TakeNumber(rest, height) && rest.empty();
    if (!good || width < 1 || height < 1 || width > 30000 || height > 30000) {
        throw UsageError(
            fmt::format("--size: expected WIDTHxHEIGHT in pixels, each from 1 to 30000, but it is \"{}\"", text));
    }
}

FramePattern::FramePattern(std::string pattern) : mPattern(std::move(pattern)) {
    const std::filesystem::path extension = TextPath(mPattern).extension();
    if (extension == ".exr") {
        mFormat = Format::Exr;
    } else if (extension != ".png") {
        throw UsageError(
            fmt::format("--output: expected a name that ends in .png or .exr, but it is \"{}\"", mPattern));
    }
    // Only the file's name is a pattern; a folder may be called what it likes.
    const std::size_t name = mPattern.find_last_of("/\\") == std::string::npos ? 0 : mPattern.find_last_of("/\\") + 1;
    const std::size_t last = mPattern.rfind('#');
    if (last == std::string::npos || last < name) return;
    mStart = last;
    while (mStart > name && mPattern[mStart - 1] == '#') --mStart;
    mDigits = last + 1 - mStart;
}

std::filesystem::path FramePattern::Expand(int frame) const {
    if (!HasNumber()) return TextPath(mPattern);
    std::string name = mPattern;
    name.replace(mStart, mDigits, fmt::format("{:0{}}", frame, mDigits));
    return TextPath(name);
}

namespace detail {

// In the same folder, since only within one file system does a rename replace a file at once.
std::filesystem::path MakeTemporaryName(const std::filesystem::path& file) {
    static std::atomic<unsigned> counter{0};
    return file.parent_path() /
           TextPath(fmt::format(".{}.{}-{}.part", PathText(file.filename()), ProcessId(), counter++));
}

void MoveIntoPlace(const std::filesystem::path& temporary, const std::filesystem::path& file) {
    std::error_code error;
    std::filesystem::rename(temporary, file, error);
    if (error) throw OutputError(fmt::format("{}: cannot be written: {}", PathText(file), error.message()));
}

std::string NameFile(std::string message, const std::filesystem::path& temporary, const std::filesystem::path& file) {
    const std::string name = PathText(temporary);
    const std::size_t place = message.find(name);
    return place == std::string::npos ? message : message.replace(place, name.size(), PathText(file));
}

}  // namespace detail

void WriteTextFile(const std::filesystem::path& file, std::string_view text) {
    const auto write = [&](const std::filesystem::path& place) {
        std::ofstream stream(place, std::ios::binary);
        stream << text << '\n';
        stream.close();
        if (!stream) throw OutputError(fmt::format("{}: cannot be written", PathText(file)));
    };
    // A device, a pipe or a link is written to and never replaced: /dev/stdout is a link even where it ends at a file.
    std::error_code ignored;
    if (std::filesystem::is_other(std::filesystem::status(file, ignored)) ||
        std::filesystem::is_symlink(std::filesystem::symlink_status(file, ignored))) {
        return write(file);
    }
    WriteWhole(file, write);
}

}  // namespace nimbrel::host
