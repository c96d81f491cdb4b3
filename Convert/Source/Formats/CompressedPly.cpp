#include <algorithm>

#include <fmt/format.h>

#include "../Format.h"
#include "../Quantities.h"
#include "NimbrelConvert/Errors.h"
#include "PlyHeader.h"

/// Layout: an element "chunk" with the ranges of 256 splats each, an element "vertex" of four packed words for each
/// splat, and an element "sh" of a byte for each coefficient. Positions and scales are 11, 10 and 11 bits of the
/// chunk's range, rotations the three small components in 10 bits each behind two bits for the largest one's place,
/// colours 8 bits.
namespace nimbrel::convert {
namespace {

constexpr std::size_t kChunk = 256;
constexpr std::size_t kPackedSize = 16;

/// An element of single values at its place in the file.
struct Region {
    std::uint64_t mStart = 0;
    std::uint64_t mStride = 0;
    std::uint64_t mCount = 0;
};

Region FindRegion(const PlyHeader& header, std::string_view name, const ByteSource& source) {
    const std::optional<std::size_t> place = header.Find(name);
    if (!place) return {};
    const PlyElement& element = header.mElements[*place];
    const Region region{header.GetStart(*place), element.GetStride().value_or(0), element.mCount};
    if (region.mStride == 0) throw FormatError(fmt::format("its element \"{}\" has lists or no properties", name));
    const std::uint64_t left = source.GetSize() - std::min(region.mStart, source.GetSize());
    if (left / region.mStride < region.mCount) {
        throw FormatError(fmt::format("it is cut short: its header states {} records of \"{}\", but it holds {}",
                                      region.mCount, name, left / region.mStride));
    }
    return region;
}

/// Names of a property with _x, _y, _z or other ends, all of the type, in a row.
void RequireRow(const PlyElement& element, std::span<const char* const> names, PlyType type) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i < element.mProperties.size() && element.mProperties[i].mName == names[i] &&
            element.mProperties[i].mType == type) {
            continue;
        }
        throw FormatError(fmt::format("its element \"{}\" lacks \"{}\" at its place", element.mName, names[i]));
    }
}

constexpr const char* kChunkNames[] = {
    "min_x",       "min_y",       "min_z",       "max_x", "max_y", "max_z", "min_scale_x", "min_scale_y", "min_scale_z",
    "max_scale_x", "max_scale_y", "max_scale_z", "min_r", "min_g", "min_b", "max_r",       "max_g",       "max_b"};
constexpr std::size_t kChunkNamesWithoutColor = 12;
constexpr const char* kVertexNames[] = {"packed_position", "packed_rotation", "packed_scale", "packed_color"};

/// The ranges of one chunk.
struct Ranges {
    float mPosition[2][3];
    float mScale[2][3];
    float mColor[2][3];
};
static_assert(sizeof(Ranges) == 18 * sizeof(float), "as the file has them");

float Mix(float low, float high, float share) { return low * (1 - share) + high * share; }

void Unpack111011(std::uint32_t word, const float (&range)[2][3], float* to) {
    const float shares[3] = {static_cast<float>(word >> 21) / 2047.0f,
                             static_cast<float>((word >> 11) & 1023U) / 1023.0f,
                             static_cast<float>(word & 2047U) / 2047.0f};
    for (int a = 0; a < 3; ++a) to[a] = Mix(range[0][a], range[1][a], shares[a]);
}

class CompressedPlyReader : public SplatReader {
public:
    CompressedPlyReader(const Input& input, const PlyHeader& header) : mSource(input.mSource) {
        mFacts.mFormat = "compressed PLY";
        mFacts.mRenderMode = header.GetRenderMode();
        mChunks = FindRegion(header, "chunk", *mSource);
        mVertices = FindRegion(header, "vertex", *mSource);
        mHarmonics = FindRegion(header, "sh", *mSource);
        const PlyElement& chunk = header.mElements[header.Find("chunk").value()];
        mHasColor = chunk.mProperties.size() >= std::size(kChunkNames);
        RequireRow(chunk, std::span(kChunkNames).first(mHasColor ? std::size(kChunkNames) : kChunkNamesWithoutColor),
                   PlyType::Float32);
        RequireRow(header.mElements[header.Find("vertex").value()], kVertexNames, PlyType::UInt32);
        mFacts.mCount = mVertices.mCount;
        CheckCount(mFacts.mCount);
        if (mChunks.mCount < (mFacts.mCount + kChunk - 1) / kChunk) {
            throw FormatError(
                fmt::format("it has {} chunks of {} splats for {} splats", mChunks.mCount, kChunk, mFacts.mCount));
        }
        OpenHarmonics(header);
    }

private:
    void OpenHarmonics(const PlyHeader& header) {
        if (mHarmonics.mCount == 0) return;
        const PlyElement& element = header.mElements[header.Find("sh").value()];
        if (mHarmonics.mCount < mFacts.mCount) {
            throw FormatError(fmt::format("it has {} harmonics for {} splats", mHarmonics.mCount, mFacts.mCount));
        }
        for (int degree = 1; degree <= 3; ++degree) {
            if (element.mProperties.size() == 3U * static_cast<std::size_t>(CoefficientCount(degree))) {
                mFacts.mDegree = degree;
            }
        }
        if (mFacts.mDegree == 0) {
            throw FormatError(fmt::format("it has {} coefficients for each splat, which is no whole degree",
                                          element.mProperties.size()));
        }
        for (std::size_t i = 0; i < element.mProperties.size(); ++i) {
            const PlyProperty& property = element.mProperties[i];
            if (property.mName != fmt::format("f_rest_{}", i) || property.mType != PlyType::UInt8) {
                throw FormatError(fmt::format("its element \"sh\" lacks f_rest_{} at its place", i));
            }
        }
    }

    void DoRead(std::uint64_t first, std::size_t count, float* rows) override {
        const std::uint64_t firstChunk = first / kChunk, lastChunk = (first + count - 1) / kChunk;
        LoadBlock(mChunks, firstChunk, static_cast<std::size_t>(lastChunk - firstChunk + 1), mChunkBytes);
        LoadBlock(mVertices, first, count, mVertexBytes);
        const RowLayout layout = GetLayout();
        Ranges ranges{};
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t chunk = static_cast<std::size_t>((first + i) / kChunk - firstChunk);
            if (i == 0 || (first + i) % kChunk == 0) ranges = LoadRanges(chunk);
            ReadSplat(mVertexBytes.data() + i * static_cast<std::size_t>(mVertices.mStride), ranges,
                      rows + i * layout.Size());
        }
        if (mFacts.mDegree == 0) return;
        LoadBlock(mHarmonics, first, count, mHarmonicBytes);
        // A byte stands for the middle of its step; the ends are reached.
        static const auto table = MakeByteTable([](float v) {
            return v == 0 ? -4.0f : v == 255 ? 4.0f : ((v + 0.5f) / 256.0f - 0.5f) * 8.0f;
        });
        const std::size_t rest = 3 * layout.Coefficients();
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint8_t* const from = mHarmonicBytes.data() + i * static_cast<std::size_t>(mHarmonics.mStride);
            float* const to = rows + i * layout.Size() + RowLayout::kRest;
            for (std::size_t k = 0; k < rest; ++k) to[k] = table[from[k]];
        }
    }

    void LoadBlock(const Region& region, std::uint64_t first, std::size_t count, Bytes& bytes) {
        bytes.resize(count * static_cast<std::size_t>(region.mStride));
        mSource->Read(region.mStart + first * region.mStride, bytes);
    }

    Ranges LoadRanges(std::size_t chunk) const {
        Ranges ranges{{}, {}, {{0, 0, 0}, {1, 1, 1}}};
        const std::size_t size = (mHasColor ? std::size(kChunkNames) : kChunkNamesWithoutColor) * sizeof(float);
        std::memcpy(&ranges, mChunkBytes.data() + chunk * static_cast<std::size_t>(mChunks.mStride), size);
        return ranges;
    }

    void ReadSplat(const std::uint8_t* packed, const Ranges& ranges, float* row) const {
        static const auto logits = MakeByteTable([](float v) { return LogitFromOpacity(v / 255.0f); });
        const RowLayout layout = GetLayout();
        std::uint32_t words[4];
        std::memcpy(words, packed, kPackedSize);
        Unpack111011(words[0], ranges.mPosition, row + RowLayout::kPosition);
        Unpack111011(words[2], ranges.mScale, row + layout.Scale());
        float three[3];
        for (std::uint32_t i = 0; i < 3; ++i) {
            three[i] = (static_cast<float>((words[1] >> (20 - 10 * i)) & 1023U) / 1023.0f - 0.5f) * 1.41421356f;
        }
        RestoreQuaternion(three, words[1] >> 30, row + layout.Rotation());
        for (std::uint32_t c = 0; c < 3; ++c) {
            const float share = static_cast<float>((words[3] >> (24 - 8 * c)) & 255U) / 255.0f;
            row[RowLayout::kDc + c] = DcFromColor(Mix(ranges.mColor[0][c], ranges.mColor[1][c], share));
        }
        row[layout.Opacity()] = logits[words[3] & 255U];
    }

    std::shared_ptr<ByteSource> mSource;
    Region mChunks, mVertices, mHarmonics;
    bool mHasColor = false;
    Bytes mChunkBytes, mVertexBytes, mHarmonicBytes;
};

bool Recognise(const Input& input) {
    const std::string_view head(reinterpret_cast<const char*>(input.mHead.data()), input.mHead.size());
    return head.starts_with("ply") && head.find("element chunk ") != std::string_view::npos &&
           head.find(" packed_position\n") != std::string_view::npos;
}

std::unique_ptr<SplatReader> Open(const Input& input, const ReadOptions&) {
    const PlyHeader header = ReadPlyHeader(*input.mSource);
    if (header.mEncoding != PlyEncoding::LittleEndian) {
        throw FormatError("it is a compressed PLY file that is not binary and little-endian");
    }
    for (const char* name : {"chunk", "vertex"}) {
        if (!header.Find(name)) throw FormatError(fmt::format("it has no element \"{}\"", name));
    }
    return std::make_unique<CompressedPlyReader>(input, header);
}

}  // namespace

const Format kCompressedPlyFormat = {
    {"compressed PLY", ".compressed.ply, .ply", "a compressed PLY file"}, Recognise, Open};

}  // namespace nimbrel::convert
