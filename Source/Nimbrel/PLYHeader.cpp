#include "PLYHeader.h"

#include <array>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace {

struct TypeName {
    PLYPropertyType type;
    std::string_view names[2];
};

constexpr TypeName kTypeNames[] = {
    {PLYPropertyType::Int8, {"int8", "char"}},        {PLYPropertyType::UInt8, {"uint8", "uchar"}},
    {PLYPropertyType::Int16, {"int16", "short"}},     {PLYPropertyType::UInt16, {"uint16", "ushort"}},
    {PLYPropertyType::Int32, {"int32", "int"}},       {PLYPropertyType::UInt32, {"uint32", "uint"}},
    {PLYPropertyType::Float32, {"float32", "float"}}, {PLYPropertyType::Float64, {"float64", "double"}},
};

PLYPropertyType ParseType(std::string_view keyword) {
    for (const TypeName& entry : kTypeNames) {
        if (keyword == entry.names[0] || keyword == entry.names[1]) return entry.type;
    }
    return PLYPropertyType::Invalid;
}

// The line behind its keyword and one blank.
std::string RestOfLine(const std::string& line, std::size_t keywordSize) {
    return line.size() > keywordSize ? line.substr(keywordSize + 1) : std::string();
}

PLYProperty ParseProperty(std::istream& tokens) {
    PLYProperty property;
    std::string keyword;
    tokens >> keyword;
    if (keyword == "list") {
        property.isList = true;
        tokens >> keyword;
        property.listType = ParseType(keyword);
        keyword.clear();
        tokens >> keyword;
    }
    property.type = ParseType(keyword);
    tokens >> property.name;
    return property;
}

// A folder opens on some systems, a pipe waits for its writer, and a device may have no end.
bool IsFile(const std::filesystem::path& path) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    return !std::filesystem::is_directory(status) && !std::filesystem::is_other(status);
}

}  // namespace

std::uint32_t GetPLYTypeSize(PLYPropertyType type) {
    constexpr std::array<std::uint8_t, 9> kTypeSizes = {0, 1, 1, 2, 2, 4, 4, 4, 8};
    return kTypeSizes[static_cast<std::size_t>(type)];
}

PLYHeader ReadPLYHeader(std::istream& file) {
    PLYHeader header;
    std::istringstream tokens;
    for (std::string line; std::getline(file, line);) {
        tokens.clear();
        tokens.str(line);
        std::string keyword;
        tokens >> keyword;
        if (keyword == "end_header") {
            header.hasEnd = true;
            break;
        }
        if (keyword == "format") {
            std::string format;
            tokens >> format;
            if (format == "binary_little_endian" || format == "binary_big_endian") header.isBinary = true;
            if (format == "binary_big_endian") header.isBigEndian = true;
        } else if (keyword == "element") {
            PLYElement& element = header.elements.emplace_back();
            tokens >> element.name >> element.count;
        } else if (keyword == "property") {
            if (header.elements.empty()) throw std::runtime_error("no elements defined; file is malformed");
            header.elements.back().properties.push_back(ParseProperty(tokens));
        } else if (keyword == "comment") {
            header.comments.push_back(RestOfLine(line, keyword.size()));
        } else if (keyword == "obj_info") {
            header.objInfos.push_back(RestOfLine(line, keyword.size()));
        }
    }
    return header;
}

std::ifstream OpenPLYFile(const std::u16string& path, bool buffered) {
    std::ifstream file;
    if (!buffered) file.rdbuf()->pubsetbuf(nullptr, 0);
    try {
        const std::filesystem::path place(path);
        file.setstate(IsFile(place) ? std::ios::goodbit : std::ios::failbit);
        if (file) file.open(place, std::ios::in | std::ios::binary);
    } catch (const std::filesystem::filesystem_error&) {
        file.setstate(std::ios::failbit);
    }
    return file;
}
