#include "Format.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

#include "NimbrelConvert/Errors.h"

namespace nimbrel::convert {
namespace {

/// What has a mark comes before what only its name tells.
const Format* const kFormats[] = {&kCompressedPlyFormat, &kPlyFormat,    &kSpzFormat,  &kSogFormat,
                                  &kGltfFormat,          &kKsplatFormat, &kSplatFormat};

struct Magic {
    std::string_view mBytes;
    std::string_view mWhat;
};

constexpr Magic kOtherFiles[] = {
    {"\xff\xd8\xff", "a JPEG picture"},
    {"\x89PNG", "a PNG picture"},
    {"RIFF", "a WebP picture or another RIFF file"},
    {"v/1\x01", "an OpenEXR picture"},
    {"solid ", "an STL mesh"},
    {"# Blender", "an OBJ mesh"},
    {"Kaydara FBX", "an FBX scene"},
    {"PK\x03\x04", "a zip archive without a SOG model in it"},
    {"\x1f\x8b", "a gzip file that is no SPZ model"},
    {"glTF", "a glTF scene"},
    {"ply", "a PLY file"},
    {"\x7f"
     "ELF",
     "a program"},
};

std::string Join(std::span<const Format* const> formats) {
    std::string names;
    for (const Format* format : formats) {
        if (!names.empty()) names += ", ";
        names += format->mName.mName;
    }
    return names;
}

std::string DescribeHead(const Input& input) {
    if (input.mHead.empty()) return "an empty file";
    for (const Magic& magic : kOtherFiles) {
        if (input.StartsWith(magic.mBytes)) return std::string(magic.mWhat);
    }
    const bool isText = std::all_of(input.mHead.begin(), input.mHead.end(), [](std::uint8_t c) {
        return c >= 0x80 || c == '\n' || c == '\r' || c == '\t' || (c >= 32 && c < 127);
    });
    return isText ? "a text file" : "a file of unknown kind";
}

// A message says which file it is about, whatever its reader knew.
template <class Function>
auto NamingFile(const std::filesystem::path& file, Function&& function) {
    try {
        return function();
    } catch (const FileError& error) {
        throw FileError(fmt::format("\"{}\": {}", PathText(file), error.what()));
    } catch (const ConvertError& error) {
        throw FormatError(fmt::format("\"{}\": {}", PathText(file), error.what()));
    }
}

/// Puts the file's name before what the reader says while rows are read.
class NamedReader : public SplatReader {
public:
    NamedReader(std::filesystem::path file, std::unique_ptr<SplatReader> reader)
        : mFile(std::move(file)), mReader(std::move(reader)) {
        mFacts = mReader->GetFacts();
    }

private:
    void DoRead(std::uint64_t, std::size_t count, float* rows) override {
        NamingFile(mFile, [&] { return mReader->Read({rows, count * GetLayout().Size()}); });
    }

    std::filesystem::path mFile;
    std::unique_ptr<SplatReader> mReader;
};

}  // namespace

bool Input::StartsWith(std::string_view magic) const {
    return mHead.size() >= magic.size() &&
           std::equal(magic.begin(), magic.end(), mHead.begin(),
                      [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
}

Input OpenInput(const std::filesystem::path& file) {
    Input input;
    std::error_code ignored;
    input.mPath = std::filesystem::is_directory(file, ignored) ? file / "meta.json" : file;
    input.mSource = OpenFile(input.mPath);
    input.mHead = input.mSource->ReadUpTo(0, Input::kHeadSize);
    input.mExtension = PathText(input.mPath.extension());
    std::transform(input.mExtension.begin(), input.mExtension.end(), input.mExtension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return input;
}

void CheckCount(std::uint64_t count) {
    if (count > kMaxCount) {
        throw FormatError(fmt::format("it claims {} splats, more than the {} that can be numbered", count, kMaxCount));
    }
}

void CheckUnfolding(std::uint64_t packed, std::uint64_t unfolded) {
    // Real models come to two or three times their packed size, models of equal splats to some dozens.
    constexpr std::uint64_t kFactor = 200;
    constexpr std::uint64_t kHarmless = std::uint64_t{64} << 20;
    if (unfolded <= kHarmless || unfolded / kFactor <= packed) return;
    throw FormatError(fmt::format("its {} bytes are said to unfold to {}, more than {} times as many: it is refused",
                                  packed, unfolded, kFactor));
}

int CutDegree(int degree, ModelFacts& facts) {
    if (degree <= 3) return degree;
    facts.mNotes.push_back(
        fmt::format("Its spherical harmonics are of degree {}; bands above 3 are left out.", degree));
    return 3;
}

std::size_t SplatReader::Read(std::span<float> rows) {
    const std::uint64_t count = std::min<std::uint64_t>(rows.size() / GetLayout().Size(), CountLeft());
    if (count != 0) DoRead(mNext, static_cast<std::size_t>(count), rows.data());
    mNext += count;
    return static_cast<std::size_t>(count);
}

std::vector<FormatName> ListFormats() {
    std::vector<FormatName> names;
    for (const Format* format : kFormats) names.push_back(format->mName);
    return names;
}

std::unique_ptr<SplatReader> OpenModel(const std::filesystem::path& file, const ReadOptions& options) {
    return NamingFile(file, [&]() -> std::unique_ptr<SplatReader> {
        const Input input = OpenInput(file);
        for (const Format* format : kFormats) {
            if (!format->mRecognise(input)) continue;
            return std::make_unique<NamedReader>(file, format->mOpen(input, options));
        }
        throw FormatError(
            fmt::format("it is {}, none of the formats that are read ({})", DescribeHead(input), Join(kFormats)));
    });
}

bool IsKnownModel(const std::filesystem::path& file) {
    try {
        const Input input = OpenInput(file);
        return std::any_of(std::begin(kFormats), std::end(kFormats),
                           [&](const Format* format) { return format->mRecognise(input); });
    } catch (const std::exception&) {
        return false;
    }
}

std::vector<std::filesystem::path> ListModelFiles(const std::filesystem::path& file) {
    return NamingFile(file, [&] {
        const Input input = OpenInput(file);
        std::vector<std::filesystem::path> files{input.mPath};
        for (const Format* format : kFormats) {
            if (!format->mRecognise(input)) continue;
            if (format->mListParts == nullptr) break;
            const std::vector<std::filesystem::path> parts = format->mListParts(input);
            files.insert(files.end(), parts.begin(), parts.end());
            break;
        }
        return files;
    });
}

std::string DescribeFile(const std::filesystem::path& file) {
    try {
        const Input input = OpenInput(file);
        for (const Format* format : kFormats) {
            if (format->mRecognise(input)) return std::string(format->mName.mWhat);
        }
        return DescribeHead(input);
    } catch (const std::exception&) {
        return "a file that cannot be read";
    }
}

}  // namespace nimbrel::convert
