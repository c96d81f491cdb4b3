#include "Nimbrel/CPU/ExportData.h"

#include <algorithm>
#include <cmath>

#include "Render/CPU/VectorTargets.h"

#include "Nimbrel/CPU/SplatDecoding-inl.h"

namespace nimbrel::cpu {
namespace {

float NaturalLogarithm(float value) { return std::log2(value) * 0.693147182F; }

/// Constant SH coefficient of a colour channel: the inverse of colour = coefficient * 0.282 + 0.5.
float GetConstantTerm(const HalfRange& range, float texel) {
    return ((range.mLow - 0.5F) + texel * (range.mHigh - range.mLow)) * 3.54490757F;
}

/// The fifteen coefficients of one channel into four consecutive members.
void StoreChannel(const glm::vec3* sh, int channel, glm::vec4& first, glm::vec4& second, glm::vec4& third,
                  glm::vec3& last) {
    for (int i = 0; i < 4; ++i) {
        first[i] = sh[i][channel];
        second[i] = sh[4 + i][channel];
        third[i] = sh[8 + i][channel];
    }
    for (int i = 0; i < 3; ++i) last[i] = sh[12 + i][channel];
}

}  // namespace

gpu::ExportSplatData ExportSplat(const SplatBlocks& blocks, std::uint32_t splat) {
    using namespace HWY_NAMESPACE;
    const ChunkRanges ranges(LoadChunk(blocks, splat));
    const PackedSplat packed(LoadSplat(blocks, splat));
    const auto toVec3 = [](const Vec3<float>& v) { return glm::vec3(v.x, v.y, v.z); };
    glm::vec3 sh[kSHCoefficients];
    for (int i = 0; i < kSHCoefficients; ++i) sh[i] = toVec3(DecodeSH(ranges, packed, i));
    gpu::ExportSplatData record{};
    record.pos = toVec3(DecodePosition(ranges, packed));
    for (int i = 0; i < 3; ++i) record.dc0[i] = GetConstantTerm(ranges.mColors[i], packed.GetTexel(i));
    StoreChannel(sh, 0, record.shR14, record.shR58, record.shR9C, record.shRDF);
    StoreChannel(sh, 1, record.shG14, record.shG58, record.shG9C, record.shGDF);
    StoreChannel(sh, 2, record.shB14, record.shB58, record.shB9C, record.shBDF);
    const float o = DecodeOpacity(ranges, packed);
    record.opacity = NaturalLogarithm(o / Max(0.5F - (o - 0.5F), 9.99999997e-07F));
    const Vec3<float> scale = DecodeScale(ranges, packed);
    record.scale = {NaturalLogarithm(scale.x), NaturalLogarithm(scale.y), NaturalLogarithm(scale.z)};
    const Quaternion<float> q = DecodeRotation(packed.GetRotation());
    record.rot = {q.mScalar, q.mVector.x, q.mVector.y, q.mVector.z};
    return record;
}

void ExportData(const SplatBlocks& blocks, const gpu::ExportDataConstants& constants, std::uint32_t begin,
                std::uint32_t end, std::span<gpu::ExportSplatData> records) {
    const std::uint32_t last = std::min(end, constants._ExportDataSplatCount);
    for (std::uint32_t i = begin; i < last && i < records.size(); ++i) records[i] = ExportSplat(blocks, i);
}

}  // namespace nimbrel::cpu
