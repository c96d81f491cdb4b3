#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "../Format.h"
#include "../Quantities.h"
#include "NimbrelConvert/Errors.h"
#include "PlyHeader.h"

namespace nimbrel::convert {
namespace {

/// From a property of the element "vertex" to a float of the row.
struct Column {
    std::size_t mProperty = 0;
    std::size_t mTarget = 0;
};

struct Columns {
    std::vector<Column> mColumns;
    bool mIsFlat = false;  ///< there is no scale_2
};

std::optional<std::size_t> FindProperty(const PlyElement& vertex, std::string_view name) {
    for (std::size_t i = 0; i < vertex.mProperties.size(); ++i) {
        if (vertex.mProperties[i].mName == name && !vertex.mProperties[i].mListCount) return i;
    }
    return std::nullopt;
}

/// The degree that so many f_rest properties make, all colours together.
int GetDegree(std::size_t restCount) {
    for (int degree = 0; degree <= 8; ++degree) {
        if (restCount == 3 * static_cast<std::size_t>(CoefficientCount(degree))) return degree;
    }
    throw FormatError(
        fmt::format("it has {} f_rest properties, which is no whole degree (0, 9, 24 or 45 are)", restCount));
}

std::size_t CountRest(const PlyElement& vertex) {
    return static_cast<std::size_t>(
        std::count_if(vertex.mProperties.begin(), vertex.mProperties.end(),
                      [](const PlyProperty& property) { return property.mName.starts_with("f_rest_"); }));
}

/// What a vertex element without splats in it is instead.
std::string DescribeVertices(const PlyHeader& header, const PlyElement& vertex) {
    const std::optional<std::size_t> face = header.Find("face");
    if (face && header.mElements[*face].mCount > 0) return "it is a mesh and holds no splats";
    if (vertex.Find("red") != nullptr || vertex.Find("r") != nullptr) {
        return "it is a cloud of coloured points and holds no splats";
    }
    return "it holds no splats";
}

/// Names are matched wherever they stand: f_rest by their numbers.
Columns MatchColumns(const PlyHeader& header, const PlyElement& vertex, RowLayout layout, std::size_t restOfColor) {
    Columns columns;
    std::vector<std::string> missing;
    const auto match = [&](const std::string& name, std::size_t target) {
        const std::optional<std::size_t> found = FindProperty(vertex, name);
        if (found) {
            columns.mColumns.push_back({*found, target});
        } else {
            missing.push_back(name);
        }
    };
    const auto matchAll = [&](std::string_view name, std::size_t count, std::size_t target) {
        for (std::size_t i = 0; i < count; ++i) match(fmt::format("{}{}", name, i), target + i);
    };
    for (std::size_t i = 0; i < 3; ++i) match(std::string(1, "xyz"[i]), RowLayout::kPosition + i);
    matchAll("f_dc_", 3, RowLayout::kDc);
    for (std::size_t c = 0; c < 3; ++c) {
        for (std::size_t k = 0; k < layout.Coefficients(); ++k) {
            match(fmt::format("f_rest_{}", c * restOfColor + k), RowLayout::kRest + c * layout.Coefficients() + k);
        }
    }
    match("opacity", layout.Opacity());
    columns.mIsFlat = FindProperty(vertex, "scale_1") && !FindProperty(vertex, "scale_2");
    matchAll("scale_", columns.mIsFlat ? 2 : 3, layout.Scale());
    matchAll("rot_", 4, layout.Rotation());
    if (missing.empty()) return columns;
    if (!FindProperty(vertex, "scale_0") || !FindProperty(vertex, "rot_0")) {
        throw FormatError(
            fmt::format("{}: its vertices lack {}", DescribeVertices(header, vertex), fmt::join(missing, ", ")));
    }
    throw FormatError(fmt::format("its splats lack {}", fmt::join(missing, ", ")));
}

template <class T, bool isSwapped>
float LoadAs(const std::uint8_t* bytes) {
    if constexpr (isSwapped) {
        std::uint8_t turned[sizeof(T)];
        std::reverse_copy(bytes, bytes + sizeof(T), turned);
        return static_cast<float>(Load<T>(turned));
    } else {
        return static_cast<float>(Load<T>(bytes));
    }
}

using Loader = float (*)(const std::uint8_t*);

template <bool isSwapped>
Loader FindLoader(PlyType type) {
    // In the order of PlyType.
    static constexpr Loader loaders[] = {LoadAs<std::int8_t, isSwapped>,  LoadAs<std::uint8_t, isSwapped>,
                                         LoadAs<std::int16_t, isSwapped>, LoadAs<std::uint16_t, isSwapped>,
                                         LoadAs<std::int32_t, isSwapped>, LoadAs<std::uint32_t, isSwapped>,
                                         LoadAs<float, isSwapped>,        LoadAs<double, isSwapped>};
    return loaders[static_cast<std::size_t>(type)];
}

/// One column of a block: the usual types without a call for each value.
void CopyColumn(PlyType type, bool isSwapped, const std::uint8_t* from, std::size_t stride, std::size_t count,
                float* to, std::size_t rowSize) {
    if (type == PlyType::Float32 && !isSwapped) {
        for (std::size_t i = 0; i < count; ++i) std::memcpy(to + i * rowSize, from + i * stride, sizeof(float));
        return;
    }
    const Loader load = isSwapped ? FindLoader<true>(type) : FindLoader<false>(type);
    for (std::size_t i = 0; i < count; ++i) to[i * rowSize] = load(from + i * stride);
}

/// A splat without thickness, where the file has none.
constexpr float kFlatScale = -20.0f;

class PlyReader : public SplatReader {
public:
    PlyReader(const Input& input, PlyHeader header) : mSource(input.mSource), mHeader(std::move(header)) {
        const std::optional<std::size_t> place = mHeader.Find("vertex");
        if (!place) throw FormatError("it has no element \"vertex\", so it holds no splats");
        mVertexPlace = *place;
        const std::size_t rest = CountRest(Vertex());
        const int degree = GetDegree(rest);
        mFacts.mFormat = fmt::format("PLY, {}", mHeader.mEncoding == PlyEncoding::Ascii       ? "ascii"
                                                : mHeader.mEncoding == PlyEncoding::BigEndian ? "big-endian"
                                                                                              : "binary");
        mFacts.mCount = Vertex().mCount;
        CheckCount(mFacts.mCount);
        mFacts.mDegree = CutDegree(degree, mFacts);
        mFacts.mRenderMode = mHeader.GetRenderMode();
        mColumns = MatchColumns(mHeader, Vertex(), GetLayout(), rest / 3);
        if (mColumns.mIsFlat) mFacts.mRenderMode = RenderMode::Flat;
        NoteElements();
    }

protected:
    const PlyElement& Vertex() const { return mHeader.mElements[mVertexPlace]; }

    void Flatten(std::size_t count, float* rows) const {
        if (!mColumns.mIsFlat) return;
        const RowLayout layout = GetLayout();
        for (std::size_t i = 0; i < count; ++i) rows[i * layout.Size() + layout.Scale() + 2] = kFlatScale;
    }

    std::shared_ptr<ByteSource> mSource;
    PlyHeader mHeader;
    std::size_t mVertexPlace = 0;
    Columns mColumns;

private:
    void NoteElements() {
        std::vector<std::string> names;
        for (std::size_t i = 0; i < mHeader.mElements.size(); ++i) {
            if (i != mVertexPlace) names.push_back('"' + mHeader.mElements[i].mName + '"');
        }
        if (!names.empty()) {
            mFacts.mNotes.push_back(
                fmt::format("Elements besides \"vertex\" are passed over: {}.", fmt::join(names, ", ")));
        }
    }
};

class BinaryPlyReader : public PlyReader {
public:
    BinaryPlyReader(const Input& input, PlyHeader header) : PlyReader(input, std::move(header)) {
        const std::optional<std::uint64_t> stride = Vertex().GetStride();
        if (!stride) throw FormatError("its element \"vertex\" has lists, which splats have not");
        mStride = *stride;
        mStart = mHeader.GetStart(mVertexPlace);
        const std::uint64_t left = mSource->GetSize() - std::min(mStart, mSource->GetSize());
        if (left / mStride < mFacts.mCount) {
            throw FormatError(fmt::format("it is cut short: its header states {} splats, but it holds {}",
                                          mFacts.mCount, left / mStride));
        }
        mIsSwapped = mHeader.mEncoding == PlyEncoding::BigEndian;
    }

private:
    void DoRead(std::uint64_t first, std::size_t count, float* rows) override {
        const auto stride = static_cast<std::size_t>(mStride);
        mBlock.resize(count * stride);
        mSource->Read(mStart + first * mStride, mBlock);
        for (const Column& column : mColumns.mColumns) {
            const auto offset = static_cast<std::size_t>(Vertex().GetOffset(column.mProperty));
            CopyColumn(Vertex().mProperties[column.mProperty].mType, mIsSwapped, mBlock.data() + offset, stride, count,
                       rows + column.mTarget, GetLayout().Size());
        }
        Flatten(count, rows);
    }

    std::uint64_t mStride = 0;
    std::uint64_t mStart = 0;
    bool mIsSwapped = false;
    Bytes mBlock;
};

/// Words of a text, read in blocks.
class WordStream {
public:
    WordStream(ByteSource& source, std::uint64_t start) : mSource(source), mNext(start) {}

    /// The next word; an empty one at the end. It lives until the next call.
    std::string_view Next() {
        for (;;) {
            while (mAt < mBlock.size() && IsBlank(mBlock[mAt])) ++mAt;
            std::size_t end = mAt;
            while (end < mBlock.size() && !IsBlank(mBlock[end])) ++end;
            if (end < mBlock.size() || mIsAtEnd) {
                const std::string_view word(reinterpret_cast<const char*>(mBlock.data()) + mAt, end - mAt);
                mAt = end;
                return word;
            }
            mIsAtEnd = !Refill();
        }
    }

private:
    static bool IsBlank(std::uint8_t c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

    // Keeps what was not taken yet. A word longer than a block is none of a PLY file.
    bool Refill() {
        constexpr std::uint64_t kBlock = std::uint64_t{1} << 20;
        mBlock.erase(mBlock.begin(), mBlock.begin() + static_cast<std::ptrdiff_t>(mAt));
        mAt = 0;
        if (mBlock.size() > kBlock) throw FormatError("it holds a word of more than a million letters");
        const Bytes more = mSource.ReadUpTo(mNext, kBlock);
        mNext += more.size();
        mBlock.insert(mBlock.end(), more.begin(), more.end());
        return !more.empty();
    }

    ByteSource& mSource;
    std::uint64_t mNext;
    Bytes mBlock;
    std::size_t mAt = 0;
    bool mIsAtEnd = false;
};

float ParseNumber(std::string_view word) {
    const std::string_view digits = word.starts_with('+') ? word.substr(1) : word;
    float value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (end == digits.data() + digits.size()) {
        // Too large or too small for a float: what it rounds to.
        if (error == std::errc::result_out_of_range) return std::strtof(std::string(digits).c_str(), nullptr);
        if (error == std::errc()) return value;
    }
    throw FormatError(fmt::format("it holds \"{}\" where a number is expected", word.substr(0, 40)));
}

class AsciiPlyReader : public PlyReader {
public:
    AsciiPlyReader(const Input& input, PlyHeader header)
        : PlyReader(input, std::move(header)), mWords(*mSource, mHeader.mBody) {
        mTargets.assign(Vertex().mProperties.size(), std::nullopt);
        for (const Column& column : mColumns.mColumns) mTargets[column.mProperty] = column.mTarget;
        // A value takes two bytes at least.
        if (!mTargets.empty() && mFacts.mCount > mSource->GetSize() / (2 * mTargets.size()) + 1) {
            throw FormatError(fmt::format("it is cut short: its header states {} splats, more than its {} bytes hold",
                                          mFacts.mCount, mSource->GetSize()));
        }
    }

private:
    void DoRead(std::uint64_t first, std::size_t count, float* rows) override {
        if (first == 0) {
            for (std::size_t i = 0; i < mVertexPlace; ++i) Skip(mHeader.mElements[i]);
        }
        const std::size_t rowSize = GetLayout().Size();
        for (std::size_t i = 0; i < count; ++i) {
            for (std::size_t p = 0; p < mTargets.size(); ++p) {
                if (Vertex().mProperties[p].mListCount) {
                    SkipList(first + i);
                    continue;
                }
                const std::string_view word = Require(first + i);
                if (mTargets[p]) rows[i * rowSize + *mTargets[p]] = ParseNumber(word);
            }
        }
        Flatten(count, rows);
    }

    std::string_view Require(std::uint64_t splat) {
        const std::string_view word = mWords.Next();
        if (word.empty()) {
            throw FormatError(
                fmt::format("it is cut short: its header states {} splats, but it holds {}", mFacts.mCount, splat));
        }
        return word;
    }

    void SkipList(std::uint64_t splat) {
        const float length = ParseNumber(Require(splat));
        if (!(length >= 0 && length < 1e9f)) throw FormatError("it holds a list of impossible length");
        for (auto left = static_cast<std::int64_t>(length); left > 0; --left) Require(splat);
    }

    void Skip(const PlyElement& element) {
        for (std::uint64_t i = 0; i < element.mCount && !element.mProperties.empty(); ++i) {
            for (const PlyProperty& property : element.mProperties) {
                if (property.mListCount) {
                    SkipList(0);
                } else {
                    Require(0);
                }
            }
        }
    }

    WordStream mWords;
    std::vector<std::optional<std::size_t>> mTargets;
};

bool Recognise(const Input& input) {
    return input.StartsWith("ply\n") || input.StartsWith("ply\r\n") || input.StartsWith("PLY\n");
}

std::unique_ptr<SplatReader> Open(const Input& input, const ReadOptions&) {
    PlyHeader header = ReadPlyHeader(*input.mSource);
    if (header.mEncoding == PlyEncoding::Ascii) return std::make_unique<AsciiPlyReader>(input, std::move(header));
    return std::make_unique<BinaryPlyReader>(input, std::move(header));
}

/// The effect goes by order: groups of floats in a row, f_rest by place.
bool HasExpectedOrder(const PlyElement& vertex) {
    if (!vertex.GetStride() || !FindProperty(vertex, "opacity")) return false;
    const auto follow = [&](std::string_view name, std::size_t count) {
        const std::optional<std::size_t> first = FindProperty(vertex, fmt::format("{}0", name));
        for (std::size_t i = 0; i < count; ++i) {
            if (!first || *first + i >= vertex.mProperties.size()) return false;
            const PlyProperty& property = vertex.mProperties[*first + i];
            if (property.mName != fmt::format("{}{}", name, i) || property.mType != PlyType::Float32) return false;
        }
        return true;
    };
    const std::size_t rest = CountRest(vertex);
    const std::optional<std::size_t> x = FindProperty(vertex, "x"), dc = FindProperty(vertex, "f_dc_0");
    if (!x || !dc || vertex.Find("opacity")->mType != PlyType::Float32) return false;
    for (std::size_t i = 0; i < 3; ++i) {
        if (*x + i >= vertex.mProperties.size()) return false;
        const PlyProperty& property = vertex.mProperties[*x + i];
        if (property.mName != std::string_view(&"xyz"[i], 1) || property.mType != PlyType::Float32) return false;
    }
    const bool restFollows = rest == 0 || FindProperty(vertex, "f_rest_0") == *dc + 3;
    return (rest == 0 || rest == 9 || rest == 24 || rest == 45) && restFollows && follow("f_dc_", 3) &&
           follow("f_rest_", rest) && follow("scale_", 3) && follow("rot_", 4);
}

}  // namespace

const Format kPlyFormat = {{"PLY", ".ply", "a PLY file, ascii or binary"}, Recognise, Open};

bool IsPlainPly(const std::filesystem::path& file) {
    try {
        const Input input = OpenInput(file);
        const PlyHeader header = ReadPlyHeader(*input.mSource);
        return header.mEncoding == PlyEncoding::LittleEndian && header.mElements.size() == 1 &&
               header.mElements[0].mName == "vertex" && HasExpectedOrder(header.mElements[0]);
    } catch (const ConvertError&) {
        return false;
    }
}

bool IsRefusedByEffect(const std::filesystem::path& file) {
    try {
        const Input input = OpenInput(file);
        // Packed formats go on in what may look like anything to a reader of lines.
        if (!Recognise(input)) return !IsKnownModel(file);
        // The effect takes the bytes of big-endian numbers as they stand.
        return ReadPlyHeader(*input.mSource).mEncoding != PlyEncoding::BigEndian;
    } catch (const ConvertError&) {
        return true;
    }
}

std::string DescribeShortage(const std::filesystem::path& file) {
    try {
        const Input input = OpenInput(file);
        const PlyHeader header = ReadPlyHeader(*input.mSource);
        if (header.mElements.empty() || header.mEncoding == PlyEncoding::Ascii) return {};
        const PlyElement& element = header.mElements[0];
        const std::uint64_t stride = element.GetStride().value_or(0);
        const std::uint64_t left = stride == 0 ? 0 : (input.mSource->GetSize() - header.mBody) / stride;
        if (stride == 0 || left >= element.mCount) return {};
        return fmt::format("\"{}\" is cut short: its header states {} splats, but it holds {}.", PathText(file),
                           element.mCount, left);
    } catch (const ConvertError&) {
        return {};
    }
}

}  // namespace nimbrel::convert
