#include "PlyInspection.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include <fmt/format.h>

#include "Nimbrel/PLYHeader.h"
#include "Texts.h"

namespace nimbrel::importer {
namespace {

constexpr std::uint64_t kMaxHeader = 1 << 18;  // real ones have less than 4 KB

bool HasProperty(const PLYElement& element, std::string_view name) {
    return std::any_of(element.properties.begin(), element.properties.end(),
                       [&](const PLYProperty& property) { return property.name == name; });
}

/// All that a splat needs, in whatever order and types.
bool HasSplats(const PLYElement& element) {
    constexpr std::string_view kNeeded[] = {"x",       "y",       "z",       "f_dc_0", "f_dc_1", "f_dc_2", "opacity",
                                            "scale_0", "scale_1", "scale_2", "rot_0",  "rot_1",  "rot_2",  "rot_3"};
    return std::all_of(std::begin(kNeeded), std::end(kNeeded),
                       [&](std::string_view name) { return HasProperty(element, name); });
}

const PLYElement* FindElement(const PLYHeader& header, std::string_view name) {
    const auto found = std::find_if(header.elements.begin(), header.elements.end(),
                                    [&](const PLYElement& element) { return element.name == name; });
    return found == header.elements.end() ? nullptr : &*found;
}

/// An element of lists is what holds a mesh's faces.
const PLYElement* FindFaces(const PLYHeader& header) {
    const auto isList = [](const PLYProperty& property) { return property.isList; };
    const auto found = std::find_if(header.elements.begin(), header.elements.end(), [&](const PLYElement& element) {
        return element.name != "vertex" && std::any_of(element.properties.begin(), element.properties.end(), isList);
    });
    return found == header.elements.end() ? nullptr : &*found;
}

std::string ListElements(const PLYHeader& header) {
    std::string list;
    for (const PLYElement& element : header.elements) {
        if (element.name != "vertex") list += fmt::format("{}\"{}\"", list.empty() ? "" : ", ", element.name);
    }
    return list;
}

/// What the file is, from what most changes what its owner can do about it to what least does; `message` is the
/// reader's, for a file that is none of these.
Refusal Explain(const PLYHeader& header, std::string_view message) {
    const PLYElement* const vertex = FindElement(header, "vertex");
    if (FindElement(header, "chunk") != nullptr || (vertex != nullptr && HasProperty(*vertex, "packed_position")))
        return {"COMPRESSED", "compressed splats. nimbrel-convert makes a plain PLY of them"};
    if (const PLYElement* const faces = FindFaces(header))
        return {"A MESH", fmt::format("a mesh of {} faces, not splats", GroupDigits(faces->count))};
    if (vertex == nullptr) return {"NO SPLATS", "the file has no element \"vertex\""};
    if (!HasProperty(*vertex, "f_dc_0") && !HasProperty(*vertex, "scale_0"))
        return {"A POINT CLOUD", fmt::format("a cloud of {} points, not splats", GroupDigits(vertex->count))};
    if (header.elements.size() > 1)
        return {"MORE THAN SPLATS",
                fmt::format("it holds more than splats, which nimbrel-convert leaves out: {}", ListElements(header))};
    if (!header.isBinary)
        return {"A TEXT FILE", "splats saved as text (ascii). nimbrel-convert makes a binary PLY of them"};
    if (HasSplats(*vertex))
        return {"NOT A PLAIN PLY", "splats laid out in another way. nimbrel-convert makes a plain PLY of them"};
    constexpr std::string_view kPreamble = "File doesn't contain gaussian splats. ";
    if (message.starts_with(kPreamble)) message.remove_prefix(kPreamble.size());
    return {"NOT FOR NIMBREL", std::string(message)};
}

/// Layout or refusal of a header that was read.
void Judge(const PLYHeader& header, PlyInspection& inspection) {
    try {
        inspection.mLayout = PLYFileReader::GetLayout(header);
    } catch (const PLYFileReader::LoadModelException& exception) {
        inspection.mRefusal = Explain(header, exception.message);
        return;
    }
    if (header.isBigEndian) {
        inspection.mRefusal = {"BIG-ENDIAN", "its numbers are big-endian. nimbrel-convert turns them round"};
    } else if (inspection.mLayout.splatCount < 0) {
        inspection.mRefusal = {"TOO MANY SPLATS",
                               fmt::format("its header claims {} splats", GroupDigits(header.elements.front().count))};
    }
    if (inspection.mRefusal) inspection.mLayout = {};
}

}  // namespace

std::uint64_t PlyInspection::CountStored() const {
    if (mLayout.stride == 0 || mBodyOffset >= mFileSize) return 0;
    return std::min<std::uint64_t>(static_cast<std::uint64_t>(mLayout.splatCount),
                                   (mFileSize - mBodyOffset) / mLayout.stride);
}

bool IsPly(const std::u16string& path) {
    std::ifstream file = OpenPLYFile(path);
    char front[4] = {};
    file.read(front, sizeof(front));
    return file && std::string_view(front, 3) == "ply" && (front[3] == '\n' || front[3] == '\r');
}

std::optional<PlyInspection> Inspect(const std::u16string& path) {
    std::ifstream file = OpenPLYFile(path);
    if (!file) return std::nullopt;
    PlyInspection inspection;
    file.seekg(0, std::ios::end);
    inspection.mFileSize = static_cast<std::uint64_t>(file.tellg());
    file.seekg(0);
    std::string front(std::min(inspection.mFileSize, kMaxHeader), '\0');
    if (!file.read(front.data(), static_cast<std::streamsize>(front.size()))) return std::nullopt;
    std::istringstream text(std::move(front));
    try {
        const PLYHeader header = ReadPLYHeader(text);
        // Where the text ends with the header there is no body.
        const std::streamoff end = text.eof() ? -1 : static_cast<std::streamoff>(text.tellg());
        inspection.mBodyOffset = end < 0 ? inspection.mFileSize : static_cast<std::uint64_t>(end);
        if (header.hasEnd || inspection.mFileSize <= kMaxHeader) {
            Judge(header, inspection);
        } else {
            inspection.mRefusal = {"NO END OF HEADER", "its header has no end"};
        }
    } catch (const std::runtime_error& error) {
        // A property before any element: the reader's own words, which name no file.
        inspection.mRefusal = {"BROKEN HEADER", error.what()};
    }
    return inspection;
}

}  // namespace nimbrel::importer
