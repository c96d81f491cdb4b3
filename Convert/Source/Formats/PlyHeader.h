#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "../ByteSource.h"
#include "NimbrelConvert/SplatReader.h"

namespace nimbrel::convert {

enum class PlyType : std::uint8_t { Int8, UInt8, Int16, UInt16, Int32, UInt32, Float32, Float64 };

/// Bytes of a value in a binary body.
std::size_t GetSize(PlyType type);

struct PlyProperty {
    std::string mName;
    PlyType mType = PlyType::Float32;
    std::optional<PlyType> mListCount;  ///< the type of a list's count; nothing for a single value
};

struct PlyElement {
    std::string mName;
    std::uint64_t mCount = 0;
    std::vector<PlyProperty> mProperties;

    /// Bytes of one record; nothing where a list makes records differ.
    std::optional<std::uint64_t> GetStride() const;
    const PlyProperty* Find(std::string_view name) const;
    /// Bytes before the property of the given place.
    std::uint64_t GetOffset(std::size_t property) const;
};

enum class PlyEncoding : std::uint8_t { Ascii, LittleEndian, BigEndian };

struct PlyHeader {
    PlyEncoding mEncoding = PlyEncoding::LittleEndian;
    std::vector<PlyElement> mElements;
    std::vector<std::string> mComments;
    std::uint64_t mBody = 0;  ///< where the first element's values begin

    /// The element's place in the list; nothing if there is none of the name.
    std::optional<std::size_t> Find(std::string_view name) const;
    /// Where a binary element begins, elements before it being of fixed size. Throws FormatError where one is not.
    std::uint64_t GetStart(std::size_t element) const;
    /// What a comment says of how the model is to be drawn; the last one wins.
    RenderMode GetRenderMode() const;
};

/// Throws FormatError, saying the line and what is wrong with it.
PlyHeader ReadPlyHeader(ByteSource& source);

}  // namespace nimbrel::convert
