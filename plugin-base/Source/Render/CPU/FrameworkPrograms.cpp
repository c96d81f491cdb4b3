// The framework's programs as the CPU device runs them: registers unpacked for the functions that do the work.
#include <mutex>

#include "Render/CPU/Convert.h"
#include "Render/CPU/Copy.h"
#include "Render/CPU/DrawPrimitives.h"
#include "Render/CPU/Parallel.h"
#include "Render/CPU/Programs.h"
#include "Render/CPU/RowConversion.h"
#include "Render/CPU/TextDrawing.h"

namespace zeb::render::cpu {
namespace {

constexpr std::uint32_t kCopyGroupHeight = 8;

template <bool unmultiply>
void DrawConvert(const DrawCall& call) {
    const auto size = call.mBindings.Constants<glm::vec2>(0);
    const TextureView source = call.mBindings.Texture(0);
    const std::optional<RenderPass> plain = FindTexelToPixel(call.mPass, size);
    if (call.IsPlain(Topology::TriangleStrip, 4) && plain) {
        ForEachBand(*plain, [&](const RenderPass& pass) {
            ConvertRows(pass, source, unmultiply ? UnmultiplyRow : nullptr, pass.mScissor.mTop, pass.mScissor.mBottom);
        });
        return;
    }
    DrawPrimitives<2>(
        call, [&](std::uint32_t vertex, std::uint32_t) { return ConvertVertex(vertex, size); },
        [&](const std::array<float, 2>& coordinate, glm::vec4& color) {
            const glm::vec4 texel = source.Load(ToInt(coordinate[0]), ToInt(coordinate[1]));
            color = unmultiply ? Unmultiply(texel) : texel;
            return true;
        });
}

void DrawText(const DrawCall& call) {
    const auto projection = call.mBindings.Constants<glm::mat4>(1);
    const auto textColor = call.mBindings.Constants<glm::vec4>(0);
    const TextureView font = call.mBindings.Texture(0);
    const SamplerDescription sampler = call.mBindings.Sampler(0);
    DrawPrimitives<3>(
        call,
        [&](std::uint32_t vertex, std::uint32_t) {
            return TextDrawingVertex(projection, call.GetElement(0, vertex), glm::vec3(call.GetElement(1, vertex)));
        },
        [&](const std::array<float, 3>& coordinate, glm::vec4& color) {
            color = TextDrawingPixel(font, sampler, textColor, coordinate);
            return true;
        });
}

template <PixelChannels channels, ChannelFormat format>
void RunCopy(const Bindings& bindings, const glm::uvec3& groups) {
    const auto constants = bindings.Constants<CopyConstants>(0);
    const TextureView source = bindings.Texture(0);
    const std::span<std::byte> destination = bindings.WriteBytes(1);
    // Rows that come to share a word, by a pitch too small for their last one, are left to one thread.
    constexpr std::uint64_t channelCount = channels == PixelChannels::Alpha ? 1
                                           : channels == PixelChannels::RGB ? 3
                                                                            : 4;
    constexpr std::uint64_t channelBytes = format == ChannelFormat::F32 ? 4 : format == ChannelFormat::U8 ? 1 : 2;
    const std::uint64_t rowBytes = (constants.mSize.x * channelCount * channelBytes + 3) / 4 * 4;
    const bool sharesWords = constants.mRowPitch % 4 != 0 || rowBytes > constants.mRowPitch;
    const std::uint32_t grain = sharesWords ? groups.y : 1;
    ParallelFor(groups.y, grain, [&](std::uint32_t begin, std::uint32_t end) {
        Copy(source, channels, format, constants, begin * kCopyGroupHeight, end * kCopyGroupHeight, destination);
    });
}

template <ChannelFormat format>
void RegisterCopies(const std::string& name) {
    const std::vector<ProgramBinding> bindings = {UsesConstants(0), ReadsTexture(0), WritesBuffer(1, 4)};
    SetProgram("Copy" + name + "RGBA", {bindings, RunCopy<PixelChannels::RGBA, format>});
    SetProgram("Copy" + name + "RGB", {bindings, RunCopy<PixelChannels::RGB, format>});
    SetProgram("Copy" + name + "Alpha", {bindings, RunCopy<PixelChannels::Alpha, format>});
    SetProgram("Copy" + name + "ARGB", {bindings, RunCopy<PixelChannels::ARGB, format>});
}

}  // namespace

void RegisterFrameworkPrograms() {
    static std::once_flag registered;
    std::call_once(registered, [] {
        const std::vector<ProgramBinding> convert = {UsesConstants(0), ReadsTexture(0)};
        SetProgram("ConvertNone", {convert, nullptr, DrawConvert<false>});
        SetProgram("ConvertUnmultiply", {convert, nullptr, DrawConvert<true>});
        SetProgram("TextDrawing",
                   {{UsesConstants(0), UsesConstants(1), ReadsTexture(0), UsesSampler(0)}, nullptr, DrawText, 2});
        RegisterCopies<ChannelFormat::U8>("U8");
        RegisterCopies<ChannelFormat::U16>("U16");
        RegisterCopies<ChannelFormat::I16>("I16");
        RegisterCopies<ChannelFormat::F16>("F16");
        RegisterCopies<ChannelFormat::F32>("F32");
    });
}

}  // namespace zeb::render::cpu
