#include "ModelMaker.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <streambuf>
#include <string>

#include <fmt/format.h>
#include <glm/geometric.hpp>

#include "KnotScene.h"
#include "NimbrelConvert/RowLayout.h"

namespace nimbrel::maker {
namespace {

constexpr std::string_view kShapeNames[] = {"knot", "box"};

std::string MakeHeader(const ModelOptions& options) {
    const std::string comment = fmt::format("nimbrel-make-model: shape {}, seed {}",
                                            kShapeNames[static_cast<std::size_t>(options.mShape)], options.mSeed);
    return convert::MakePlyHeader(options.mCount, options.mDegree, {&comment, 1});
}

struct Quaternion {
    double w, x, y, z;
};

// Of the rotation whose columns are the axes (S. W. Shepperd, "Quaternion from Rotation Matrix", 1978).
Quaternion GetRotation(const Splat& splat) {
    const glm::dvec3& a = splat.mAxes[0];
    const glm::dvec3& b = splat.mAxes[1];
    const glm::dvec3 c = glm::cross(a, b);  // The third axis' sense is free: splats are symmetric.
    const double trace = a.x + b.y + c.z;
    if (trace > 0.0) {
        const double s = 2.0 * std::sqrt(trace + 1.0);
        return {0.25 * s, (b.z - c.y) / s, (c.x - a.z) / s, (a.y - b.x) / s};
    }
    if (a.x > b.y && a.x > c.z) {
        const double s = 2.0 * std::sqrt(1.0 + a.x - b.y - c.z);
        return {(b.z - c.y) / s, 0.25 * s, (b.x + a.y) / s, (c.x + a.z) / s};
    }
    if (b.y > c.z) {
        const double s = 2.0 * std::sqrt(1.0 + b.y - a.x - c.z);
        return {(c.x - a.z) / s, (b.x + a.y) / s, 0.25 * s, (c.y + b.z) / s};
    }
    const double s = 2.0 * std::sqrt(1.0 + c.z - a.x - b.y);
    return {(a.y - b.x) / s, (c.x + a.z) / s, (c.y + b.z) / s, 0.25 * s};
}

void AppendSplat(const Splat& splat, int degree, std::string& block) {
    const auto add = [&](double value) {
        const auto single = static_cast<float>(value);
        char bytes[sizeof(single)];
        std::memcpy(bytes, &single, sizeof(single));
        block.append(bytes, sizeof(bytes));
    };
    for (int c = 0; c < 3; ++c) add(splat.mPosition[c]);
    for (int c = 0; c < 3; ++c) add(splat.mColor.GetFileCoefficient(0)[c]);
    // All of red first, then green, then blue.
    for (int c = 0; c < 3; ++c) {
        for (int k = 1; k <= convert::CoefficientCount(degree); ++k) add(splat.mColor.GetFileCoefficient(k)[c]);
    }
    add(Log(splat.mOpacity / (1.0 - splat.mOpacity)));
    for (int c = 0; c < 3; ++c) add(Log(splat.mSize[c]));
    const Quaternion q = GetRotation(splat);
    add(q.w), add(q.x), add(q.y), add(q.z);
}

class VectorBuffer : public std::streambuf {
public:
    explicit VectorBuffer(std::vector<std::uint8_t>& bytes) : mBytes(bytes) {}

protected:
    std::streamsize xsputn(const char* data, std::streamsize size) override {
        mBytes.insert(mBytes.end(), data, data + size);
        return size;
    }
    int_type overflow(int_type c) override {
        mBytes.push_back(static_cast<std::uint8_t>(c));
        return c;
    }

private:
    std::vector<std::uint8_t>& mBytes;
};

}  // namespace

Shape ParseShape(std::string_view name) {
    for (std::size_t i = 0; i < std::size(kShapeNames); ++i) {
        if (name == kShapeNames[i]) return static_cast<Shape>(i);
    }
    throw std::invalid_argument(fmt::format("there is no shape \"{}\": use \"knot\" or \"box\"", name));
}

void CheckOptions(const ModelOptions& options) {
    if (options.mCount < 0 || options.mCount > std::numeric_limits<std::int32_t>::max())
        throw std::invalid_argument(fmt::format("the count of splats must be 0 to 2147483647, not {}", options.mCount));
    if (options.mDegree < 0 || options.mDegree > 3)
        throw std::invalid_argument(fmt::format("the degree must be 0 to 3, not {}", options.mDegree));
}

void WriteModel(const ModelOptions& options, std::ostream& out) {
    CheckOptions(options);
    constexpr std::size_t kBlockSize = std::size_t{1} << 18;
    const auto count = static_cast<std::uint64_t>(options.mCount);
    std::string block = MakeHeader(options);
    std::optional<KnotScene> scene;
    if (options.mShape == Shape::Knot) scene.emplace(count, options.mSeed, options.mDegree);
    for (std::uint64_t i = 0; i < count && out; ++i) {
        const Turn turn{i, static_cast<double>(count), options.mSeed, options.mDegree};
        AppendSplat(scene ? scene->Next() : MakeBoxSplat(turn), options.mDegree, block);
        if (block.size() < kBlockSize) continue;
        out.write(block.data(), static_cast<std::streamsize>(block.size()));
        block.clear();
    }
    out.write(block.data(), static_cast<std::streamsize>(block.size()));
}

std::vector<std::uint8_t> MakeModel(const ModelOptions& options) {
    std::vector<std::uint8_t> bytes;
    VectorBuffer buffer(bytes);
    std::ostream stream(&buffer);
    WriteModel(options, stream);
    return bytes;
}

}  // namespace nimbrel::maker
