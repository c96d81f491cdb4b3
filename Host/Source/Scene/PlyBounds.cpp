#include "NimbrelHost/Scene/PlyBounds.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace nimbrel::host {
namespace {

/// The host's own look into model files, for framing and counting alone; what is wrong with a file is for the effect to
/// say.
struct Header {
    std::int64_t mCount = 0;
    std::size_t mStride = 0;
    std::array<std::int64_t, 3> mOffsets{-1, -1, -1};  ///< of x, y, z in bytes; -1 for an axis without float values
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
            const std::size_t size = TypeSize(type);
            if (name.size() == 1 && name[0] >= 'x' && name[0] <= 'z' && (type == "float" || type == "float32")) {
                header.mOffsets[static_cast<std::size_t>(name[0] - 'x')] = static_cast<std::int64_t>(header.mStride);
            }
            header.mStride += size;
        }
    }
    return std::nullopt;
}

/// The values at 1 % and 99 % of the sorted order.
std::pair<double, double> Percentiles(std::vector<float>& values) {
    const auto at = [&](double share) {
        const auto place = values.begin() + std::llround(share * static_cast<double>(values.size() - 1));
        std::nth_element(values.begin(), place, values.end());
        return static_cast<double>(*place);
    };
    return {at(0.01), at(0.99)};
}

}  // namespace

std::optional<std::int64_t> ReadPlyCount(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::optional<Header> header = ReadHeader(stream);
    if (!header) return std::nullopt;
    return header->mCount;
}

std::optional<Bounds> ReadPlyBounds(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::optional<Header> header = ReadHeader(stream);
    if (!header || header->mStride == 0) return std::nullopt;
    if (std::any_of(header->mOffsets.begin(), header->mOffsets.end(), [](std::int64_t o) { return o < 0; })) {
        return std::nullopt;
    }
    std::array<std::vector<float>, 3> axes;
    std::vector<char> block(header->mStride * 4096);
    for (std::int64_t left = header->mCount; left > 0;) {
        // In blocks, so that what a header claims takes no memory; the file's own end decides.
        const std::int64_t wanted = std::min<std::int64_t>(left, 4096);
        stream.read(block.data(), static_cast<std::streamsize>(wanted * static_cast<std::int64_t>(header->mStride)));
        const std::int64_t got = stream.gcount() / static_cast<std::int64_t>(header->mStride);
        for (std::int64_t i = 0; i < got; ++i) {
            const char* splat = block.data() + static_cast<std::size_t>(i) * header->mStride;
            std::array<float, 3> position{};
            for (std::size_t a = 0; a < 3; ++a) std::memcpy(&position[a], splat + header->mOffsets[a], sizeof(float));
            // A splat without a place is not drawn.
            if (!std::isfinite(position[0]) || !std::isfinite(position[1]) || !std::isfinite(position[2])) continue;
            for (std::size_t a = 0; a < 3; ++a) axes[a].push_back(position[a]);
        }
        if (got < wanted) break;
        left -= got;
    }
    if (axes[0].empty()) return std::nullopt;
    Bounds bounds;
    for (int a = 0; a < 3; ++a) {
        std::tie(bounds.mMin[a], bounds.mMax[a]) = Percentiles(axes[static_cast<std::size_t>(a)]);
    }
    return bounds;
}

}  // namespace nimbrel::host
