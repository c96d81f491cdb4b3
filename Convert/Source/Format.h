#pragma once

#include "ByteSource.h"
#include "NimbrelConvert/SplatReader.h"

namespace nimbrel::convert {

/// A file before its format is known.
struct Input {
    std::filesystem::path mPath;
    std::shared_ptr<ByteSource> mSource;
    Bytes mHead;             ///< its first bytes, at most kHeadSize
    std::string mExtension;  ///< small letters, with the dot

    static constexpr std::size_t kHeadSize = 4096;
    bool StartsWith(std::string_view magic) const;
};

/// A format: how its files are known, and what reads them. Recognise is asked in the table's order and never throws.
struct Format {
    FormatName mName;
    bool (*mRecognise)(const Input& input);
    std::unique_ptr<SplatReader> (*mOpen)(const Input& input, const ReadOptions& options);
    /// Other files that the model is made of; null where there are none.
    std::vector<std::filesystem::path> (*mListParts)(const Input& input) = nullptr;
};

/// Each in the source of its name in Formats/.
extern const Format kPlyFormat;
extern const Format kCompressedPlyFormat;
extern const Format kSpzFormat;
extern const Format kSogFormat;
extern const Format kGltfFormat;
extern const Format kKsplatFormat;
extern const Format kSplatFormat;

/// Opens a file and reads its head; a folder stands for the meta.json in it.
Input OpenInput(const std::filesystem::path& file);

/// Splats that a reader is ready to count: what the effect can number.
constexpr std::uint64_t kMaxCount = 0x7fffffff;

/// Throws FormatError for a count above kMaxCount.
void CheckCount(std::uint64_t count);

/// Throws FormatError where `unfolded` bytes are claimed to come from so few that the file can only be meant to fill
/// the machine's memory.
void CheckUnfolding(std::uint64_t packed, std::uint64_t unfolded);

/// Notes that degrees above 3 are left out; returns the degree that is delivered.
int CutDegree(int degree, ModelFacts& facts);

}  // namespace nimbrel::convert
