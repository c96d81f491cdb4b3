#include "PlyHeader.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include <fmt/format.h>

#include "NimbrelConvert/Errors.h"

namespace nimbrel::convert {
namespace {

struct TypeName {
    PlyType mType;
    std::size_t mSize;
    std::string_view mNames[2];
};

constexpr TypeName kTypes[] = {
    {PlyType::Int8, 1, {"char", "int8"}},        {PlyType::UInt8, 1, {"uchar", "uint8"}},
    {PlyType::Int16, 2, {"short", "int16"}},     {PlyType::UInt16, 2, {"ushort", "uint16"}},
    {PlyType::Int32, 4, {"int", "int32"}},       {PlyType::UInt32, 4, {"uint", "uint32"}},
    {PlyType::Float32, 4, {"float", "float32"}}, {PlyType::Float64, 8, {"double", "float64"}},
};

struct EncodingName {
    PlyEncoding mEncoding;
    std::string_view mName;
};

constexpr EncodingName kEncodings[] = {{PlyEncoding::Ascii, "ascii"},
                                       {PlyEncoding::LittleEndian, "binary_little_endian"},
                                       {PlyEncoding::BigEndian, "binary_big_endian"}};

std::vector<std::string_view> SplitWords(std::string_view line) {
    std::vector<std::string_view> words;
    for (std::size_t at = 0;;) {
        at = line.find_first_not_of(" \t\r", at);
        if (at == std::string_view::npos) return words;
        const std::size_t end = std::min(line.find_first_of(" \t\r", at), line.size());
        words.push_back(line.substr(at, end - at));
        at = end;
    }
}

PlyType ParseType(std::string_view word) {
    for (const TypeName& type : kTypes) {
        if (word == type.mNames[0] || word == type.mNames[1]) return type.mType;
    }
    throw FormatError(fmt::format("its header has a property of the unknown type \"{}\"", word));
}

[[noreturn]] void FailAtLine(std::string_view line) {
    throw FormatError(fmt::format("its header has a line that is none of PLY: \"{}\"", line.substr(0, 60)));
}

void ParseElement(std::span<const std::string_view> words, std::string_view line, PlyHeader& header) {
    if (words.size() < 3) FailAtLine(line);
    PlyElement& element = header.mElements.emplace_back();
    element.mName = words[1];
    const auto [end, error] = std::from_chars(words[2].data(), words[2].data() + words[2].size(), element.mCount);
    if (error != std::errc() || end != words[2].data() + words[2].size()) {
        throw FormatError(fmt::format("its header states no count for the element \"{}\": \"{}\"", words[1], words[2]));
    }
}

void ParseProperty(std::span<const std::string_view> words, std::string_view line, PlyHeader& header) {
    const bool isList = words.size() > 1 && words[1] == "list";
    if (words.size() < (isList ? 5U : 3U) || header.mElements.empty()) FailAtLine(line);
    PlyProperty property;
    if (isList) property.mListCount = ParseType(words[2]);
    property.mType = ParseType(words[isList ? 3 : 1]);
    property.mName = words[isList ? 4 : 2];
    header.mElements.back().mProperties.push_back(std::move(property));
}

void ParseLine(std::string_view line, PlyHeader& header) {
    const std::vector<std::string_view> words = SplitWords(line);
    if (words.empty() || words[0] == "ply" || words[0] == "obj_info") return;
    if (words[0] == "comment") {
        const std::size_t rest = line.find("comment") + 7;
        header.mComments.emplace_back(line.substr(std::min(line.size(), rest + 1)));
    } else if (words[0] == "format") {
        const auto* found = std::find_if(std::begin(kEncodings), std::end(kEncodings), [&](const EncodingName& name) {
            return words.size() > 1 && words[1] == name.mName;
        });
        if (found == std::end(kEncodings)) FailAtLine(line);
        header.mEncoding = found->mEncoding;
    } else if (words[0] == "element") {
        ParseElement(words, line, header);
    } else if (words[0] == "property") {
        ParseProperty(words, line, header);
    } else {
        FailAtLine(line);
    }
}

}  // namespace

std::size_t GetSize(PlyType type) { return kTypes[static_cast<std::size_t>(type)].mSize; }

std::optional<std::uint64_t> PlyElement::GetStride() const {
    const bool hasList = std::any_of(mProperties.begin(), mProperties.end(),
                                     [](const PlyProperty& property) { return property.mListCount.has_value(); });
    if (hasList) return std::nullopt;
    return GetOffset(mProperties.size());
}

const PlyProperty* PlyElement::Find(std::string_view name) const {
    const auto found = std::find_if(mProperties.begin(), mProperties.end(),
                                    [&](const PlyProperty& property) { return property.mName == name; });
    return found == mProperties.end() ? nullptr : &*found;
}

std::uint64_t PlyElement::GetOffset(std::size_t property) const {
    std::uint64_t offset = 0;
    for (std::size_t i = 0; i < property; ++i) offset += GetSize(mProperties[i].mType);
    return offset;
}

std::optional<std::size_t> PlyHeader::Find(std::string_view name) const {
    for (std::size_t i = 0; i < mElements.size(); ++i) {
        if (mElements[i].mName == name) return i;
    }
    return std::nullopt;
}

std::uint64_t PlyHeader::GetStart(std::size_t element) const {
    std::uint64_t start = mBody;
    for (std::size_t i = 0; i < element; ++i) {
        const std::optional<std::uint64_t> stride = mElements[i].GetStride();
        if (!stride) {
            throw FormatError(fmt::format(
                "its element \"{}\" has lists and stands before the splats, which is not read", mElements[i].mName));
        }
        // Far above any file, and far below what 64 bits hold.
        if (mElements[i].mCount > (std::uint64_t{1} << 40))
            throw FormatError("its header claims more than a file holds");
        start += mElements[i].mCount * *stride;
    }
    return start;
}

RenderMode PlyHeader::GetRenderMode() const {
    struct Tag {
        std::string_view mText;
        RenderMode mMode;
    };
    static constexpr Tag tags[] = {{"SplatRenderMode: default", RenderMode::Plain},
                                   {"SplatRenderMode: mip", RenderMode::Antialiased},
                                   {"SplatRenderMode: 2dgs", RenderMode::Flat},
                                   {"antialiased 0", RenderMode::Plain},
                                   {"antialiased 1", RenderMode::Antialiased}};
    RenderMode mode = RenderMode::Unknown;
    for (const std::string& comment : mComments) {
        for (const Tag& tag : tags) {
            if (comment.starts_with(tag.mText)) mode = tag.mMode;
        }
    }
    return mode;
}

PlyHeader ReadPlyHeader(ByteSource& source) {
    constexpr std::uint64_t kMaxHeader = std::uint64_t{1} << 20;
    const Bytes bytes = source.ReadUpTo(0, kMaxHeader);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    PlyHeader header;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find('\n', at);
        if (end == std::string_view::npos) break;
        const std::string_view line = text.substr(at, end - at);
        at = end + 1;
        if (line == "end_header" || line == "end_header\r") {
            header.mBody = at;
            return header;
        }
        ParseLine(line, header);
    }
    throw FormatError("its header has no end: there is no line \"end_header\"");
}

}  // namespace nimbrel::convert
