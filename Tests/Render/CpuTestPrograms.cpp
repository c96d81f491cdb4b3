#include "CpuTestPrograms.h"

#include <glm/vec2.hpp>

#include "Render/CPU/DrawPrimitives.h"
#include "Render/CPU/Programs.h"
#include "Render/CPU/Sampling.h"

namespace zeb::render {
namespace {

using namespace zeb::render::cpu;

struct Numbers {
    std::uint32_t mCount;
    std::uint32_t mAddend;
    std::uint32_t mUnused[2];
    std::uint32_t mMore[16];
};

struct Record {
    float mValues[8];
    std::uint32_t mI, mJ;
};

/// Threads that do something: those of the groups, up to the count.
template <class Body>
void ForEach(const Bindings& bindings, const glm::uvec3& groups, const Body& body) {
    const auto numbers = bindings.Constants<Numbers>(0);
    ParallelFor(std::min(numbers.mCount, groups.x * 64), 16, [&](std::uint32_t begin, std::uint32_t end) {
        for (std::uint32_t i = begin; i < end; ++i) body(i, numbers);
    });
}

void RawAdd(const Bindings& bindings, const glm::uvec3& groups) {
    const auto source = bindings.Read<std::uint32_t>(1);
    const auto result = bindings.Write<std::uint32_t>(2);
    const auto factor = bindings.Constants<std::uint32_t>(14);
    ForEach(bindings, groups, [&](std::uint32_t i, const Numbers& numbers) {
        if (i < result.size()) result[i] = (i < source.size() ? source[i] : 0) * factor + numbers.mAddend;
    });
}

void RecordAdd(const Bindings& bindings, const glm::uvec3& groups) {
    const auto source = bindings.Read<Record>(3);
    const auto result = bindings.Write<Record>(4);
    ForEach(bindings, groups, [&](std::uint32_t i, const Numbers& numbers) {
        if (i >= source.size() || i >= result.size()) return;
        Record record = source[i];
        for (int field = 0; field < 8; ++field) record.mValues[field] += static_cast<float>(field + 1);
        record.mI += numbers.mAddend;
        record.mJ += numbers.mMore[15];
        result[i] = record;
    });
}

void Chain(const Bindings& bindings, const glm::uvec3& groups) {
    const auto values = bindings.Write<std::uint32_t>(6);
    ForEach(bindings, groups, [&](std::uint32_t i, const Numbers& numbers) {
        if (i < values.size()) values[i] = values[i] * 3 + numbers.mAddend;
    });
}

void SampleTwo(const Bindings& bindings, const glm::uvec3& groups) {
    const auto positions = bindings.Read<glm::vec4>(12);
    const auto samples = bindings.Write<glm::vec4>(10);
    const TextureView first = bindings.Texture(7);
    const TextureView second = bindings.Texture(8);
    const SamplerDescription sampler = bindings.Sampler(9);
    ForEach(bindings, groups, [&](std::uint32_t i, const Numbers&) {
        if (i >= positions.size() || i >= samples.size()) return;
        const glm::vec4& p = positions[i];
        samples[i] = cpu::Sample(first, sampler, p.x, p.y) + 100.0F * cpu::Sample(second, sampler, p.z, p.w);
    });
}

void WriteImage(const Bindings& bindings, const glm::uvec3& groups) {
    const auto addend = static_cast<float>(bindings.Constants<Numbers>(0).mAddend);
    Image& image = *bindings.WriteTexture(13);
    for (std::uint32_t y = 0; y < std::min(groups.y * 4, image.GetHeight()); ++y) {
        for (std::uint32_t x = 0; x < std::min(groups.x * 4, image.GetWidth()); ++x)
            image.Store(x, y, {static_cast<float>(x), static_cast<float>(y), addend, 1.0F});
    }
}

struct QuadConstants {
    glm::vec4 mRectangle;  ///< left, bottom, right, top in clip space
    glm::vec4 mColor;
    float mDepth;
};

/// Two triangles, clockwise on the screen.
glm::vec2 Corner(std::uint32_t vertex) {
    constexpr std::uint32_t kCorners[] = {0, 1, 2, 2, 1, 3};
    const std::uint32_t corner = vertex < 6 ? kCorners[vertex] : 3;
    return {static_cast<float>(corner & 1U), static_cast<float>(corner >> 1U)};
}

Vertex<4> MakeVertex(const glm::vec4& position, const glm::vec4& color) {
    return {position, {color.x, color.y, color.z, color.w}};
}

bool ColorPixel(const std::array<float, 4>& attributes, glm::vec4& color) {
    color = {attributes[0], attributes[1], attributes[2], attributes[3]};
    return true;
}

auto MakeQuadVertex(const DrawCall& call) {
    return [quad = call.mBindings.Constants<QuadConstants>(0)](std::uint32_t vertex, std::uint32_t) {
        const glm::vec2 corner = Corner(vertex);
        const glm::vec4& r = quad.mRectangle;
        return MakeVertex({Lerp(r.x, r.z, corner.x), Lerp(r.w, r.y, corner.y), quad.mDepth, 1.0F}, quad.mColor);
    };
}

void DrawQuad(const DrawCall& call) { DrawPrimitives<4>(call, MakeQuadVertex(call), ColorPixel); }

void DrawTexturedQuad(const DrawCall& call) {
    const glm::vec4 sample = cpu::Sample(call.mBindings.Texture(2), call.mBindings.Sampler(3), 0.5F, 0.5F);
    DrawPrimitives<4>(call, MakeQuadVertex(call), [&](const std::array<float, 4>& attributes, glm::vec4& color) {
        ColorPixel(attributes, color);
        color += sample;
        return true;
    });
}

void DrawColumns(const DrawCall& call) {
    const auto colors = call.mBindings.Read<glm::vec4>(1);
    DrawPrimitives<4>(
        call,
        [&](std::uint32_t vertex, std::uint32_t instance) {
            const glm::vec2 corner = Corner(vertex);
            const glm::vec4 color = instance < colors.size() ? colors[instance] : glm::vec4(0.0F);
            const float x = (corner.x + static_cast<float>(instance)) * 0.5F - 1.0F;
            return MakeVertex({x, 1.0F - 2.0F * corner.y, 0.5F, 1.0F}, color);
        },
        ColorPixel);
}

}  // namespace

void RegisterCpuTestPrograms() {
    const ProgramBinding numbers = UsesConstants(0);
    SetProgram("RawAdd", {{numbers, UsesConstants(14), ReadsBuffer(1, 4), WritesBuffer(2, 4)}, RawAdd});
    SetProgram("RecordAdd", {{numbers, ReadsBuffer(3, sizeof(Record)), WritesBuffer(4, sizeof(Record))}, RecordAdd});
    SetProgram("Chain", {{numbers, WritesBuffer(6, 4)}, Chain});
    SetProgram("Sample",
               {{numbers, ReadsTexture(7), ReadsTexture(8), UsesSampler(9), WritesBuffer(10, 16), ReadsBuffer(12, 16)},
                SampleTwo});
    SetProgram("WriteImage", {{numbers, WritesTexture(13)}, WriteImage});
    SetProgram("Quad", {{numbers}, nullptr, DrawQuad});
    SetProgram("TexturedQuad", {{numbers, ReadsTexture(2), UsesSampler(3)}, nullptr, DrawTexturedQuad});
    SetProgram("Columns", {{ReadsBuffer(1, 16)}, nullptr, DrawColumns});
}

}  // namespace zeb::render
