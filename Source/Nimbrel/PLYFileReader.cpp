#include "PLYFileReader.h"

#include <array>
#include <new>
#include <optional>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "AvailableMemory.h"
#include "PLYHeader.h"

namespace {

using LoadModelException = PLYFileReader::LoadModelException;

enum Group : std::uint8_t { Position, Dc, Rest, Rotation, Scale, Opacity, GroupCount };

// A property that a splat must have. One with a predecessor must be a float right behind it; one
// without starts its group, and where it stands is noted.
struct KnownProperty {
    std::string_view name;
    Group group;
    std::string_view predecessor;
    std::uint32_t PLYFileData::*offset = nullptr;
};

constexpr KnownProperty kKnownProperties[] = {
    {"x", Position, "", &PLYFileData::posOffset},
    {"y", Position, "x"},
    {"z", Position, "y"},
    {"f_dc_0", Dc, "", &PLYFileData::dcOffset},
    {"f_dc_1", Dc, "f_dc_0"},
    {"f_dc_2", Dc, "f_dc_1"},
    {"f_rest_0", Rest, "f_dc_2"},
    {"opacity", Opacity, "", &PLYFileData::opacityOffset},
    {"rot_0", Rotation, "", &PLYFileData::rotOffset},
    {"rot_1", Rotation, "rot_0"},
    {"rot_2", Rotation, "rot_1"},
    {"rot_3", Rotation, "rot_2"},
    {"scale_0", Scale, "", &PLYFileData::scaleOffset},
    {"scale_1", Scale, "scale_0"},
    {"scale_2", Scale, "scale_1"},
};

constexpr std::string_view kRestPrefix = "f_rest_";

// Names that begin so are a splat's own: one that is not known is an error, where others are passed over.
constexpr std::string_view kReservedPrefixes[] = {"f_dc_", "o", "rot_", "scale_"};

const KnownProperty* FindKnown(std::string_view name) {
    for (const KnownProperty& known : kKnownProperties) {
        if (known.name == name) return &known;
    }
    return nullptr;
}

void CheckSequence(const PLYProperty& property, std::string_view expected, std::string_view previous) {
    if (property.type != PLYPropertyType::Float32)
        ZEB_THROW_AS(
            LoadModelException, zeb::kInternalError,
            fmt::format("File doesn't contain gaussian splats. Property {} must by of type float", property.name));
    if (previous != expected)
        ZEB_THROW_AS(LoadModelException, zeb::kInternalError,
                     fmt::format("File doesn't contain gaussian splats. Unexpected property {} and not {} before {}.",
                                 previous, expected, property.name));
}

// The group that a property counts for. Notes its offset in `data` if it starts one.
std::optional<Group> MatchProperty(const PLYProperty& property, std::string_view previous, std::uint32_t cursor,
                                   PLYFileData& data) {
    const std::string_view name = property.name;
    if (const KnownProperty* known = FindKnown(name)) {
        if (!known->predecessor.empty()) CheckSequence(property, known->predecessor, previous);
        if (known->offset != nullptr) data.*known->offset = cursor;
        return known->group;
    }
    if (name.starts_with(kRestPrefix)) return Rest;
    for (std::string_view prefix : kReservedPrefixes) {
        if (name.starts_with(prefix))
            ZEB_THROW_AS(LoadModelException, zeb::kInternalError,
                         fmt::format("File doesn't contain gaussian splats. Unexpected property {}.", name));
    }
    return std::nullopt;
}

using GroupCounts = std::array<std::uint32_t, GroupCount>;

void CheckCounts(const GroupCounts& counts) {
    struct Requirement {
        Group group;
        std::uint32_t count;
        const char* name;
    };
    constexpr Requirement kRequirements[] = {
        {Position, 3, "pos"}, {Scale, 3, "scale"}, {Rotation, 4, "rot"}, {Dc, 3, "dc"}};
    for (const Requirement& required : kRequirements) {
        if (counts[required.group] != required.count)
            ZEB_THROW_AS(LoadModelException, zeb::kInternalError,
                         fmt::format("File doesn't contain gaussian splats. Required {} {} components but have {}.",
                                     required.count, required.name, counts[required.group]));
    }
}

std::uint32_t GetSHLevel(std::uint32_t restCount) {
    constexpr std::uint32_t kRestCounts[] = {0, 9, 24, 45};
    for (std::uint32_t level = 0; level < std::size(kRestCounts); ++level) {
        if (restCount == kRestCounts[level]) return level;
    }
    ZEB_THROW_AS(LoadModelException, zeb::kInternalError,
                 fmt::format("File doesn't contain gaussian splats. Unsupported f_rest count of {}", restCount));
}

const PLYElement& GetVertexElement(const PLYHeader& header) {
    if (!header.isBinary) ZEB_THROW_AS(LoadModelException, zeb::kInternalError, "Unexpected file format.");
    if (header.elements.size() != 1 || header.elements.front().name != "vertex") {
        std::vector<std::string> names;
        for (const PLYElement& element : header.elements) names.push_back('"' + element.name + '"');
        ZEB_THROW_AS(LoadModelException, zeb::kInternalError,
                     fmt::format("File doesn't contain gaussian splats. Must be only one element with name \"vertex\" "
                                 "but have {}.",
                                 fmt::join(names, ", ")));
    }
    return header.elements.front();
}

// What the file does not have stays zero.
void ReadBody(std::istream& file, PLYFileData& data) {
    if (data.splatCount < 0) throw std::bad_alloc();
    const std::uint64_t size = static_cast<std::uint64_t>(data.splatCount) * data.stride;
    if (size == 0) return;
    RequireMemory(size);
    data.data.resize(size);
    file.read(reinterpret_cast<char*>(data.data.data()), static_cast<std::streamsize>(size));
}

}  // namespace

PLYFileReader::LoadModelException::LoadModelException(std::string_view file, int line, std::string_view function,
                                                      std::int32_t errorCode, std::string_view plainMessage)
    : zeb::Exception(file, line, function, errorCode, plainMessage), message(plainMessage) {}

PLYFileData PLYFileReader::GetLayout(const PLYHeader& header) {
    const PLYElement& vertex = GetVertexElement(header);
    PLYFileData data;
    data.splatCount = static_cast<std::int32_t>(static_cast<std::uint32_t>(vertex.count));
    GroupCounts counts{};
    std::string_view previous;
    for (const PLYProperty& property : vertex.properties) {
        if (property.name.empty()) continue;
        if (property.isList)
            ZEB_THROW_AS(LoadModelException, zeb::kInternalError,
                         "File doesn't contain gaussian splats. Properties must not be of type list.");
        if (const std::optional<Group> group = MatchProperty(property, previous, data.stride, data)) ++counts[*group];
        previous = property.name;
        data.stride += GetPLYTypeSize(property.type);
    }
    CheckCounts(counts);
    data.shLevel = GetSHLevel(counts[Rest]);
    return data;
}

PLYFileData PLYFileReader::ReadFile(const std::u16string& path, bool loadData) {
    std::ifstream file = OpenPLYFile(path);
    if (!file) ZEB_THROW_AS(LoadModelException, zeb::kInternalError, "Failed to open the file.");
    PLYFileData data = GetLayout(ReadPLYHeader(file));
    if (loadData) ReadBody(file, data);
    return data;
}
