#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "NimbrelConvert/RowLayout.h"

namespace nimbrel::convert {

/// How a model was trained to be drawn, where its file says so.
enum class RenderMode : std::uint8_t { Unknown, Plain, Antialiased, Flat };

/// What is known of a model before its splats are read.
struct ModelFacts {
    std::string mFormat;                           ///< such as "SPZ 4"
    std::uint64_t mCount = 0;                      ///< splats
    int mDegree = 0;                               ///< of the spherical harmonics as delivered, 0 to 3
    RenderMode mRenderMode = RenderMode::Unknown;  ///< antialiased, or of flat (2D) splats
    std::vector<std::string> mNotes;               ///< sentences for the user: what was cut, passed over or guessed
};

/// One model being read, in blocks of rows as RowLayout tells, turned to the axes of PLY files: x right, y down, z
/// forward. One thread at a time.
class SplatReader {
public:
    virtual ~SplatReader() = default;

    const ModelFacts& GetFacts() const { return mFacts; }
    RowLayout GetLayout() const { return {mFacts.mDegree}; }
    /// Rows that were not read yet.
    std::uint64_t CountLeft() const { return mFacts.mCount - mNext; }
    /// Fills whole rows with the next splats, as many as `rows` holds and are left; returns how many. Throws
    /// ConvertError.
    std::size_t Read(std::span<float> rows);

protected:
    ModelFacts mFacts;

private:
    /// Fills `count` rows beginning with splat `first`; blocks are asked for in order, each once.
    virtual void DoRead(std::uint64_t first, std::size_t count, float* rows) = 0;

    std::uint64_t mNext = 0;
};

struct ReadOptions {
    /// Take the positions of formats that state an upright axis as they stand, for files that a tool wrote without
    /// turning them.
    bool mKeepAxes = false;
};

/// A format that is read.
struct FormatName {
    std::string_view mName;        ///< "SPZ"
    std::string_view mExtensions;  ///< ".spz"
    std::string_view mWhat;        ///< a line for lists
};
std::vector<FormatName> ListFormats();

/// Opens a model by what its file holds; names decide only for formats that have no mark of their own. A folder is
/// taken for the SOG model whose meta.json lies in it. Throws ConvertError, whose text names the file.
std::unique_ptr<SplatReader> OpenModel(const std::filesystem::path& file, const ReadOptions& options = {});

/// Whether the effect reads the file as it is and as it is meant: a binary little-endian PLY file of the one element
/// "vertex", all floats, in the order that it expects. What is no model at all is left to the effect too.
bool IsPlainPly(const std::filesystem::path& file);

/// Whether the effect refuses a file, too, if OpenModel does; what it takes for a PLY file it may misread.
bool IsRefusedByEffect(const std::filesystem::path& file);

/// A sentence that tells how many splats a plain PLY file lacks; empty where it lacks none.
std::string DescribeShortage(const std::filesystem::path& file);

/// Whether a file is of one of the formats, by the same marks that OpenModel goes by. Never throws.
bool IsKnownModel(const std::filesystem::path& file);

/// All files that a model is made of: the named one, and those that a glTF or unbundled SOG file names.
std::vector<std::filesystem::path> ListModelFiles(const std::filesystem::path& file);

/// What a file seems to be, for messages: "a JPEG picture", "a mesh", "text". Never throws.
std::string DescribeFile(const std::filesystem::path& file);

}  // namespace nimbrel::convert
