#include <algorithm>

#include <fmt/format.h>

#include "../Placement.h"
#include "../Quantities.h"
#include "GltfFile.h"
#include "NimbrelConvert/Errors.h"

/// Layout: points of a mesh with the extension KHR_gaussian_splatting, an attribute each: position, rotation (x, y, z,
/// w), scale (lengths; logarithms in drafts of the extension), opacity from 0 to 1, and for each coefficient of the
/// harmonics its three colours. Axes are x left, y up, z forward: half a turn about z makes them those of PLY.
namespace nimbrel::convert {
namespace {

using Json = nlohmann::json;

constexpr const char* kExtension = "KHR_gaussian_splatting";

/// An attribute and the row's floats that it fills.
struct Target {
    GltfAccessor mAccessor;
    std::size_t mPlace = 0;
    bool mIsHarmonic = false;  ///< its three colours go to three places
};

/// The splats of one primitive at one node.
struct Cloud {
    std::uint64_t mFirst = 0, mCount = 0;
    int mDegree = 0;
    const Json* mAttributes = nullptr;
    glm::dmat4 mMatrix{1};
    std::vector<Target> mTargets;
    bool mHasLogarithms = false;
};

glm::dmat4 ReadMatrix(const Json& node) {
    const auto numbers = [&](const char* key, std::size_t count, auto&& take) {
        const auto found = node.find(key);
        if (found == node.end()) return;
        if (!found->is_array() || found->size() != count)
            throw FormatError(fmt::format("a node's \"{}\" is broken", key));
        double values[16];
        for (std::size_t i = 0; i < count; ++i) {
            if (!(*found)[i].is_number()) throw FormatError(fmt::format("a node's \"{}\" is broken", key));
            values[i] = (*found)[i].get<double>();
        }
        take(values);
    };
    glm::dmat4 matrix(1), translation(1), rotation(1), scale(1);
    numbers("matrix", 16, [&](const double* v) {
        for (int i = 0; i < 16; ++i) matrix[i / 4][i % 4] = v[i];
    });
    numbers("translation", 3, [&](const double* v) { translation[3] = glm::dvec4(v[0], v[1], v[2], 1); });
    numbers("rotation", 4, [&](const double* v) { rotation = glm::mat4_cast(glm::dquat(v[3], v[0], v[1], v[2])); });
    numbers("scale", 3, [&](const double* v) {
        for (int a = 0; a < 3; ++a) scale[a][a] = v[a];
    });
    return matrix * translation * rotation * scale;
}

class GltfReader : public SplatReader {
public:
    explicit GltfReader(const Input& input) : mFile(input) {
        mFacts.mFormat = input.StartsWith("glTF") ? "GLB, KHR_gaussian_splatting" : "glTF, KHR_gaussian_splatting";
        // Half a turn about z.
        glm::dmat4 axes(1);
        axes[0][0] = axes[1][1] = -1;
        WalkScene(axes);
        if (mClouds.empty()) throw FormatError("it is a glTF scene without KHR_gaussian_splatting: it holds no splats");
        CheckCount(mFacts.mCount);
        int degree = 0;
        for (const Cloud& cloud : mClouds) degree = std::max(degree, cloud.mDegree);
        mFacts.mDegree = degree;
        for (Cloud& cloud : mClouds) OpenCloud(cloud);
    }

private:
    void WalkScene(const glm::dmat4& axes) {
        const Json& document = mFile.GetDocument();
        const Json& scene = mFile.Get("scenes", GetIndex(document, "scene", 0));
        if (scene.contains("nodes") && scene["nodes"].is_array()) {
            for (const Json& node : scene["nodes"]) WalkNode(node, axes, 0);
            return;
        }
        // Without a scene, every mesh as it stands.
        const std::size_t meshes =
            document.contains("meshes") && document["meshes"].is_array() ? document["meshes"].size() : 0;
        for (std::size_t i = 0; i < meshes; ++i) AddMesh(i, axes);
    }

    // A tree has no more nodes than its document, so that one with a loop or a node of two parents ends.
    void WalkNode(const Json& index, const glm::dmat4& parent, int depth) {
        constexpr int kMaxDepth = 256;
        constexpr std::size_t kMaxNodes = 100000;
        if (!index.is_number_unsigned() || depth > kMaxDepth || ++mNodes > kMaxNodes) {
            throw FormatError("its nodes are no tree");
        }
        const Json& node = mFile.Get("nodes", index.get<std::uint64_t>());
        const glm::dmat4 matrix = parent * ReadMatrix(node);
        if (node.contains("mesh")) AddMesh(GetIndex(node, "mesh", 0), matrix);
        if (!node.contains("children") || !node["children"].is_array()) return;
        for (const Json& child : node["children"]) WalkNode(child, matrix, depth + 1);
    }

    void AddMesh(std::uint64_t index, const glm::dmat4& matrix) {
        const Json& mesh = mFile.Get("meshes", index);
        if (!mesh.contains("primitives") || !mesh["primitives"].is_array()) return;
        for (const Json& primitive : mesh["primitives"]) {
            if (!primitive.is_object() || !primitive.contains("extensions")) continue;
            const Json& extensions = primitive["extensions"];
            if (!extensions.is_object() || !extensions.contains(kExtension)) continue;
            if (!primitive.contains("attributes") || !primitive["attributes"].is_object()) continue;
            NoteExtension(extensions[kExtension]);
            Cloud cloud;
            cloud.mAttributes = &primitive["attributes"];
            cloud.mMatrix = matrix;
            cloud.mFirst = mFacts.mCount;
            cloud.mCount = GetAttribute(cloud, "POSITION", 3).mCount;
            while (cloud.mDegree < 3 && FindHarmonic(cloud, cloud.mDegree + 1, 0)) ++cloud.mDegree;
            mFacts.mCount += cloud.mCount;
            mClouds.push_back(std::move(cloud));
        }
    }

    void NoteExtension(const Json& extension) {
        if (!extension.is_object()) return;
        const auto note = [&](const char* key, std::string_view expected) {
            if (!extension.contains(key) || !extension[key].is_string() || extension[key] == expected) return;
            mFacts.mNotes.push_back(fmt::format("Its {} is \"{}\"; it is read as \"{}\".", key,
                                                extension[key].get<std::string>(), expected));
        };
        note("kernel", "ellipse");
        note("colorSpace", "srgb_rec709_display");
        note("projection", "perspective");
        if (extension.contains("extensions")) {
            throw FormatError("its splats are packed by a further extension, which is not read");
        }
    }

    static std::optional<std::uint64_t> FindHarmonic(const Cloud& cloud, int band, int number) {
        const std::string name = fmt::format("{}:SH_DEGREE_{}_COEF_{}", kExtension, band, number);
        if (!cloud.mAttributes->contains(name)) return std::nullopt;
        return GetIndex(*cloud.mAttributes, name.c_str(), 0);
    }

    GltfAccessor GetAttribute(const Cloud& cloud, const std::string& name, std::size_t width) {
        if (!cloud.mAttributes->contains(name))
            throw FormatError(fmt::format("its splats lack the attribute {}", name));
        GltfAccessor accessor = mFile.GetAccessor(GetIndex(*cloud.mAttributes, name.c_str(), 0), width);
        if (name != "POSITION" && accessor.mCount != cloud.mCount) {
            throw FormatError(
                fmt::format("its attribute {} has {} records for {} splats", name, accessor.mCount, cloud.mCount));
        }
        return accessor;
    }

    void OpenCloud(Cloud& cloud) {
        const RowLayout layout = GetLayout();
        const auto add = [&](const std::string& name, std::size_t width, std::size_t place) {
            cloud.mTargets.push_back({GetAttribute(cloud, name, width), place, false});
        };
        const std::string prefix = std::string(kExtension) + ":";
        add("POSITION", 3, RowLayout::kPosition);
        add(prefix + "ROTATION", 4, layout.Rotation());
        add(prefix + "OPACITY", 1, layout.Opacity());
        add(prefix + "SCALE", 3, layout.Scale());
        cloud.mHasLogarithms = HasNegative(cloud.mTargets.back().mAccessor);
        if (cloud.mHasLogarithms) {
            mFacts.mNotes.push_back("Its scales are logarithms, as drafts of the extension had them.");
        }
        add(prefix + "SH_DEGREE_0_COEF_0", 3, RowLayout::kDc);
        std::size_t place = RowLayout::kRest;
        for (int band = 1; band <= cloud.mDegree; ++band) {
            for (int i = 0; i < 2 * band + 1; ++i) {
                add(fmt::format("{}SH_DEGREE_{}_COEF_{}", prefix, band, i), 3, place++);
                cloud.mTargets.back().mIsHarmonic = true;
            }
        }
    }

    // No length is negative, and no model has only splats of more than a unit.
    bool HasNegative(const GltfAccessor& accessor) {
        std::vector<float> values;
        for (std::uint64_t first = 0; first < accessor.mCount; first += kBlock) {
            const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(kBlock, accessor.mCount - first));
            values.resize(3 * count);
            accessor.Read(first, count, values.data(), 3, mScratch);
            if (std::any_of(values.begin(), values.end(), [](float v) { return v < 0; })) return true;
        }
        return false;
    }

    void DoRead(std::uint64_t first, std::size_t count, float* rows) override {
        for (const Cloud& cloud : mClouds) {
            const std::uint64_t begin = std::max(first, cloud.mFirst);
            const std::uint64_t end = std::min(first + count, cloud.mFirst + cloud.mCount);
            if (begin >= end) continue;
            ReadRun(cloud, begin - cloud.mFirst, static_cast<std::size_t>(end - begin),
                    rows + static_cast<std::size_t>(begin - first) * GetLayout().Size());
        }
    }

    void ReadRun(const Cloud& cloud, std::uint64_t first, std::size_t count, float* rows) {
        const RowLayout layout = GetLayout();
        std::fill_n(rows, count * layout.Size(), 0.0f);
        mColors.resize(3 * count);
        for (const Target& target : cloud.mTargets) {
            if (!target.mIsHarmonic) {
                target.mAccessor.Read(first, count, rows + target.mPlace, layout.Size(), mScratch);
                continue;
            }
            target.mAccessor.Read(first, count, mColors.data(), 3, mScratch);
            for (std::size_t i = 0; i < count; ++i) {
                for (std::size_t c = 0; c < 3; ++c) {
                    rows[i * layout.Size() + target.mPlace + c * layout.Coefficients()] = mColors[3 * i + c];
                }
            }
        }
        const Placement placement(cloud.mMatrix);
        for (std::size_t i = 0; i < count; ++i) Finish(cloud, placement, rows + i * layout.Size());
    }

    void Finish(const Cloud& cloud, const Placement& placement, float* row) const {
        const RowLayout layout = GetLayout();
        float* const q = row + layout.Rotation();
        std::rotate(q, q + 3, q + 4);  // x y z w becomes w x y z
        NormaliseQuaternion(q);
        row[layout.Opacity()] = LogitFromOpacity(row[layout.Opacity()]);
        if (!cloud.mHasLogarithms) {
            for (std::size_t a = 0; a < 3; ++a) row[layout.Scale() + a] = LogFromScale(row[layout.Scale() + a]);
        }
        placement.Apply(layout, row);
    }

    static constexpr std::size_t kBlock = 8192;

    GltfFile mFile;
    std::vector<Cloud> mClouds;
    std::size_t mNodes = 0;
    Bytes mScratch;
    std::vector<float> mColors;
};

bool Recognise(const Input& input) {
    if (input.StartsWith("glTF")) return true;
    return input.mExtension == ".gltf" && !input.mHead.empty();
}

std::unique_ptr<SplatReader> Open(const Input& input, const ReadOptions&) {
    return std::make_unique<GltfReader>(input);
}

std::vector<std::filesystem::path> ListParts(const Input& input) { return GltfFile(input).ListBufferFiles(); }

}  // namespace

const Format kGltfFormat = {{"glTF", ".glb, .gltf", "a glTF scene"}, Recognise, Open, ListParts};

}  // namespace nimbrel::convert
