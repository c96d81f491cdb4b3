#include "NimbrelHost/Scene/PlyBounds.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace nimbrel::host {
namespace {

constexpr std::string_view kNames[] = {"x", "y", "z", "opacity", "scale_0", "scale_1", "scale_2"};
constexpr std::size_t kOpacity = 3, kScales = 4;
using Values = std::array<float, std::size(kNames)>;

/// The host's own look into model files, for framing and counting alone; what is wrong with a file is for the effect to
/// say.
struct Header {
    std::int64_t mCount = 0;
    std::size_t mStride = 0;
    /// Of the properties of kNames, in bytes; nothing for one without float values.
    std::array<std::optional<std::size_t>, std::size(kNames)> mOffsets;
};

std::size_t TypeSize(const std::string& type) {
    static constexpr std::pair<std::string_view, std::size_t> sizes[] = {
        {"int8", 1},    {"char", 1},   {"uint8", 1},   {"uchar", 1}, {"int16", 2},  {"short", 2},
        {"uint16", 2},  {"ushort", 2}, {"int32", 4},   {"int", 4},   {"uint32", 4}, {"uint", 4},
        {"float32", 4}, {"float", 4},  {"float64", 8}, {"double", 8}};
    for (const auto& [name, size] : sizes) {
        if (type == name) return size;
    }
    return 0;
}

/// Reads the header of a binary file with the one element "vertex", leaving the stream at the body.
std::optional<Header> ReadHeader(std::istream& stream) {
    // A file that is none may hold no line end for gigabytes; real headers have fewer than a hundred lines.
    constexpr int kMaxLines = 4096;
    Header header;
    bool binary = false;
    int elements = 0;
    std::string line;
    for (int number = 0; number < kMaxLines && std::getline(stream, line); ++number) {
        std::istringstream words(line);
        std::string first, type, name;
        words >> first;
        if (first == "end_header") {
            if (!binary || elements != 1 || header.mCount < 0) return std::nullopt;
            return header;
        }
        if (first == "format") {
            words >> type;
            binary = type == "binary_little_endian";
        } else if (first == "element") {
            ++elements;
            if (!(words >> name >> header.mCount) || name != "vertex") return std::nullopt;
        } else if (first == "property") {
            words >> type >> name;
            if (type == "list") return std::nullopt;
            const auto found = std::find(std::begin(kNames), std::end(kNames), name);
            if (found != std::end(kNames) && (type == "float" || type == "float32"))
                header.mOffsets[static_cast<std::size_t>(found - std::begin(kNames))] = header.mStride;
            header.mStride += TypeSize(type);
        }
    }
    return std::nullopt;
}

convert::FramedSplat ReadSplat(const Header& header, const char* row, const glm::dmat3& rotation) {
    Values values{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (header.mOffsets[i]) std::memcpy(&values[i], row + *header.mOffsets[i], sizeof(float));
    }
    const glm::vec3 position(rotation * glm::dvec3(values[0], values[1], values[2]));
    return convert::MakeFramedSplat(position, {values[kScales], values[kScales + 1], values[kScales + 2]},
                                    values[kOpacity]);
}

}  // namespace

std::optional<std::int64_t> ReadPlyCount(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::optional<Header> header = ReadHeader(stream);
    if (!header) return std::nullopt;
    return header->mCount;
}

std::optional<convert::ModelBox> ReadPlyBounds(const std::filesystem::path& file, const glm::dmat3& rotation) {
    constexpr std::int64_t kEnough = 262144, kBlock = 4096;
    std::ifstream stream(file, std::ios::binary);
    const std::optional<Header> header = ReadHeader(stream);
    if (!header || header->mStride == 0) return std::nullopt;
    if (!header->mOffsets[0] || !header->mOffsets[1] || !header->mOffsets[2]) return std::nullopt;
    const std::int64_t step = header->mCount / kEnough + 1;
    std::vector<convert::FramedSplat> splats;
    std::vector<char> block(header->mStride * static_cast<std::size_t>(kBlock));
    for (std::int64_t first = 0; first < header->mCount;) {
        // In blocks, so that what a header claims takes no memory; the file's own end decides.
        const std::int64_t wanted = std::min(header->mCount - first, kBlock);
        stream.read(block.data(), static_cast<std::streamsize>(wanted) * static_cast<std::streamsize>(header->mStride));
        const std::int64_t got = stream.gcount() / static_cast<std::int64_t>(header->mStride);
        for (std::int64_t i = (step - first % step) % step; i < got; i += step) {
            splats.push_back(
                ReadSplat(*header, block.data() + static_cast<std::size_t>(i) * header->mStride, rotation));
        }
        if (got < wanted) break;
        first += got;
    }
    return convert::MeasureModel(std::move(splats));
}

}  // namespace nimbrel::host
