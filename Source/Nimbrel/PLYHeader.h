#pragma once

#include <cstdint>
#include <fstream>
#include <istream>
#include <string>
#include <vector>

/// The text at the front of a PLY file, taken as it stands.

enum class PLYPropertyType : std::uint8_t { Invalid, Int8, UInt8, Int16, UInt16, Int32, UInt32, Float32, Float64 };

struct PLYProperty {
    std::string name;
    PLYPropertyType type = PLYPropertyType::Invalid;
    bool isList = false;
    PLYPropertyType listType = PLYPropertyType::Invalid;
};

struct PLYElement {
    std::string name;
    std::int64_t count = 0;
    std::vector<PLYProperty> properties;
};

struct PLYHeader {
    std::vector<PLYElement> elements;
    std::vector<std::string> comments;
    std::vector<std::string> objInfos;
    bool isBinary = false;
    bool isBigEndian = false;  ///< Noted only: the body of such a file is taken as it stands.
    bool hasEnd = false;       ///< "end_header" was there, and the body follows.
};

/// Bytes of one value; 0 for an invalid type.
std::uint32_t GetPLYTypeSize(PLYPropertyType type);

/// Reads up to the line "end_header", behind which the body starts, or to the end of the stream. Lines that mean
/// nothing are passed over, the magic word among them. Throws std::runtime_error for a property before any element.
PLYHeader ReadPLYHeader(std::istream& file);

/// The file opened for reading; a failed stream for what is no file, cannot be opened or has a path that is no text.
/// Without a buffer each read goes to the file itself, for those that skip most of it.
std::ifstream OpenPLYFile(const std::u16string& path, bool buffered = true);
