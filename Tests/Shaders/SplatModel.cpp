#include "SplatModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>

#include <glm/ext/matrix_clip_space.hpp>
#include <glm/ext/matrix_transform.hpp>
#include <glm/glm.hpp>

#include "Render/CPU/HalfConversion.h"

namespace nimbrel::test {
namespace {

using zeb::render::Format;

constexpr std::byte kGuard{0xA5};
/// Bytes before the blocks in their buffers: multiples of 4, and of the records' sizes, but of no coarser alignment.
constexpr std::size_t kRawOffset = 4;
constexpr std::size_t kChunkOffset = 64;

class Random {
public:
    explicit Random(std::uint32_t seed) : mEngine(seed) {}
    std::uint32_t Word() { return static_cast<std::uint32_t>(mEngine()); }
    float Between(float low, float high) { return low + (high - low) * (static_cast<float>(Word() >> 8) * 0x1p-24F); }

private:
    std::mt19937 mEngine;
};

std::uint32_t HalfRange(float low, float high) {
    const std::uint32_t high16 = zeb::render::cpu::FloatToHalf(high);
    return zeb::render::cpu::FloatToHalf(low) | (high16 << 16);
}

std::uint32_t VectorBytes(std::uint32_t format) {
    constexpr std::uint32_t kBytes[] = {12, 6, 4, 2};
    return format < 4 ? kBytes[format] : 0;
}

Bytes RandomBytes(Random& random, std::size_t size) {
    Bytes bytes(std::max<std::size_t>((size + 7) / 8 * 8, 8));
    for (std::byte& b : bytes) b = static_cast<std::byte>(random.Word() & 255U);
    return bytes;
}

void PutFloat(Bytes& bytes, std::size_t at, float value) { std::memcpy(bytes.data() + at, &value, sizeof value); }

/// Formats of whole floats or halves cannot hold any bits: these get values of 0 to 1.
void FillNumbers(Random& random, SplatModel& model, const Formats& formats) {
    if (formats.mPosition == 0) {
        for (std::size_t i = 0; i < std::size_t{model.mCount} * 3; ++i)
            PutFloat(model.mPositions, i * 4, random.Between(0, 1));
    }
    const std::size_t other = 4 + VectorBytes(formats.mScale) + (formats.mSH > 3 ? 2 : 0);
    for (std::size_t i = 0; i < model.mCount; ++i) {
        for (std::size_t k = 0; k < 3 && formats.mScale == 0; ++k)
            PutFloat(model.mOther, i * other + 4 + k * 4, random.Between(0, 1));
        if (formats.mSH > 3) {
            const auto index = static_cast<std::uint16_t>(random.Word() % model.mCount);
            std::memcpy(model.mOther.data() + (i + 1) * other - 2, &index, 2);
        }
    }
    if (formats.mSH == 0) {
        for (std::size_t at = 0; at + 4 <= model.mSH.size(); at += 4)
            PutFloat(model.mSH, at, random.Between(-0.5F, 0.5F));
    } else if (formats.mSH == 1 || formats.mSH > 3) {
        for (std::size_t at = 0; at + 2 <= model.mSH.size(); at += 2) {
            const std::uint16_t half = zeb::render::cpu::FloatToHalf(random.Between(-0.5F, 0.5F));
            std::memcpy(model.mSH.data() + at, &half, 2);
        }
    }
}

Bytes MakeColors(Random& random, Format format, std::uint32_t height) {
    const std::size_t texels = std::size_t{2048} * height;
    Bytes bytes = RandomBytes(random, texels * zeb::render::GetBytesPerPixel(format));
    for (std::size_t i = 0; i < texels * 4; ++i) {
        const float value = random.Between(0, 1);
        if (format == Format::RGBA32Float) PutFloat(bytes, i * 4, value);
        if (format == Format::RGBA16Float) {
            const std::uint16_t half = zeb::render::cpu::FloatToHalf(value);
            std::memcpy(bytes.data() + i * 2, &half, 2);
        }
    }
    return bytes;
}

gpu::SplatChunkInfo MakeChunk(Random& random) {
    gpu::SplatChunkInfo chunk{};
    const auto range = [&](float low, float high) {
        const float a = random.Between(low, high);
        return HalfRange(a, a + random.Between(0, high - low));
    };
    chunk.colR = range(-0.5F, 1.0F);
    chunk.colG = range(-0.5F, 1.0F);
    chunk.colB = range(-0.5F, 1.0F);
    chunk.colA = HalfRange(random.Between(0, 0.3F), random.Between(0.7F, 1.0F));
    for (glm::vec2* axis : {&chunk.posX, &chunk.posY, &chunk.posZ}) {
        axis->x = random.Between(-500, 0);
        axis->y = axis->x + random.Between(0, 500);
    }
    chunk.sclX = range(1.0F, 1.8F);
    chunk.sclY = range(1.0F, 1.8F);
    chunk.sclZ = range(1.0F, 1.8F);
    chunk.shR = range(-0.4F, 0.4F);
    chunk.shG = range(-0.4F, 0.4F);
    chunk.shB = range(-0.4F, 0.4F);
    return chunk;
}

void PlaceCamera(SplatModel& model) {
    const glm::mat4 align = glm::rotate(glm::mat4(1.0F), 0.3F, glm::vec3(0.2F, 1.0F, 0.4F));
    const glm::mat4 transform =
        glm::translate(glm::mat4(1.0F), glm::vec3(40, -25, 60)) *
        glm::scale(glm::rotate(glm::mat4(1.0F), -0.7F, glm::vec3(1.0F, 0.3F, 0.1F)), glm::vec3(1.1F));
    const glm::mat4 view = glm::translate(glm::mat4(1.0F), glm::vec3(30, 20, 420));
    glm::mat4 projection(0.0F);
    // Half of one another: a compiler that shortens (a / b) * b to a gets the same bits.
    projection[0][0] = 1.6F;
    projection[1][1] = -3.2F;
    projection[2][2] = 1.0002F;
    projection[2][3] = 1.0F;
    projection[3][2] = -20.0F;
    gpu::CalcViewDataConstants& c = model.mView;
    c._MatrixAlign = align;
    c._MatrixTransform = transform;
    c._MatrixWorldToObject = glm::inverse(transform * align);
    c._MatrixVP = projection * view;
    c._MatrixMV = view * transform * align;
    c._MatrixCamera = view;
    c._MatrixP = projection;
    c._VecScreenParams = {1920, 1080, 0, 0};
    c._VecWorldSpaceCameraPos = glm::inverse(view)[3];
    c._SplatScale = 1;
    c._SplatOpacityScale = 1;
    c._SHOrder = 3;
    c._SplatCount = model.mCount;
    c._ZDepthNear = 100;
    c._ZDepthFar = 900;
    model.mDistances._CalcDistancesMatrixAlign = align;
    model.mDistances._CalcDistancesMatrixVP = view * transform;
    model.mDistances._CalcDistancesSplatCount = model.mCount;
}

Bytes WithFront(std::size_t front, const Bytes& block) {
    Bytes bytes(front, kGuard);
    bytes.insert(bytes.end(), block.begin(), block.end());
    return bytes;
}

/// The bindings that the kernels share, by register.
struct ModelOnDevice {
    ModelOnDevice(GpuRun& run, const SplatModel& model)
        : mChunks(run.AddBuffer(WithFront(kChunkOffset, ToBytes(model.mChunks)))),
          mPositions(run.AddBuffer(WithFront(kRawOffset, model.mPositions))),
          mOther(run.AddBuffer(WithFront(kRawOffset, model.mOther))),
          mSH(run.AddBuffer(WithFront(kRawOffset, model.mSH))),
          mColor(run.AddTexture(model.mColorFormat, 2048, model.mColorHeight, model.mColor)),
          mRamps(run.AddTexture(Format::R32Float, gpu::kCurveSamples, gpu::kRampRows * model.mInstances,
                                ToBytes(model.mRamps))),
          mGradients(
              run.AddTexture(Format::RGBA32Float, gpu::kCurveSamples, model.mInstances, ToBytes(model.mGradients))),
          mSplatConstants(RecordBytes(model.mSplat)),
          mNoiseConstants(RecordBytes(model.mNoise)) {}

    /// The bindings of these registers ("t1 b6"), and the program's own behind them.
    std::vector<Binding> Get(const std::string& registers, std::vector<Binding> own) const {
        const Binding all[] = {{"t1", &mChunks, nullptr, {}, kChunkOffset},
                               {"t2", &mPositions, nullptr, {}, kRawOffset},
                               {"t3", &mOther, nullptr, {}, kRawOffset},
                               {"t4", &mSH, nullptr, {}, kRawOffset},
                               {"t5", nullptr, &mColor, {}, 0},
                               {"t12", nullptr, &mRamps, {}, 0},
                               {"t13", nullptr, &mGradients, {}, 0},
                               {"b6", nullptr, nullptr, mSplatConstants, 0},
                               {"b11", nullptr, nullptr, mNoiseConstants, 0},
                               {"s14", nullptr, nullptr, {}, 0}};
        std::istringstream names(registers);
        for (std::string name; names >> name;)
            own.push_back(*std::find_if(std::begin(all), std::end(all), [&](auto& b) { return b.mRegister == name; }));
        return own;
    }

    const GpuBuffer& mChunks;
    const GpuBuffer& mPositions;
    const GpuBuffer& mOther;
    const GpuBuffer& mSH;
    const GpuTexture& mColor;
    const GpuTexture& mRamps;
    const GpuTexture& mGradients;
    Bytes mSplatConstants;
    Bytes mNoiseConstants;
};

Bytes Guards(std::size_t recordSize, std::uint32_t count) {
    return Bytes(recordSize * (1 + count + kGuardRecords), kGuard);
}

/// The records of a buffer that starts with one guard record; the guards must be untouched.
template <class T>
std::vector<T> Unguarded(const GpuBuffer& buffer, std::uint32_t count) {
    const Bytes bytes = GpuRun::Read(buffer);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const bool inside = i >= sizeof(T) && i < sizeof(T) * (1 + count);
        if (!inside && bytes[i] != kGuard) {
            ADD_FAILURE() << "byte " << i << " outside of " << count << " records was written";
            break;
        }
    }
    return FromBytes<T>(bytes, sizeof(T), count);
}

}  // namespace

SplatModel MakeModel(std::uint32_t count, const Formats& formats, std::uint32_t seed) {
    Random random(seed);
    SplatModel model;
    model.mCount = count;
    model.mSplat._SplatFormat = formats.mPosition | (formats.mScale << 8) | (formats.mSH << 16);
    model.mSplat._SplatColorYOffset = 16;
    for (std::uint32_t c = 0; c < (count + 255) / 256; ++c) model.mChunks.push_back(MakeChunk(random));
    constexpr std::uint32_t kSHBytes[] = {192, 96, 60, 32};
    const std::size_t other = 4 + VectorBytes(formats.mScale) + (formats.mSH > 3 ? 2 : 0);
    model.mPositions = RandomBytes(random, std::size_t{VectorBytes(formats.mPosition)} * count);
    model.mOther = RandomBytes(random, other * count);
    model.mSH = RandomBytes(random, std::size_t{formats.mSH < 4 ? kSHBytes[formats.mSH] : 96} * count);
    FillNumbers(random, model, formats);
    model.mColorFormat = formats.mColor;
    model.mColorHeight = 16 + ((count + 2047) / 2048 + 15) / 16 * 16;
    model.mColor = MakeColors(random, formats.mColor, model.mColorHeight);
    model.mInstances = 3;
    model.mRamps.resize(std::size_t{gpu::kCurveSamples} * gpu::kRampRows * model.mInstances);
    for (std::size_t i = 0; i < model.mRamps.size(); ++i)
        model.mRamps[i] = 0.5F + 0.5F * std::sin(static_cast<float>(i) * 0.01F);
    model.mGradients.resize(std::size_t{gpu::kCurveSamples} * 4 * model.mInstances);
    for (std::size_t i = 0; i < model.mGradients.size(); ++i)
        model.mGradients[i] = 0.5F + 0.5F * std::cos(static_cast<float>(i) * 0.003F);
    PlaceCamera(model);
    return model;
}

cpu::SplatBlocks SplatModel::Blocks() const {
    cpu::SplatBlocks blocks;
    blocks.mChunks = std::as_bytes(std::span(mChunks));
    blocks.mPositions = mPositions;
    blocks.mOther = mOther;
    blocks.mSH = mSH;
    blocks.mColor = {mColor.data(), mColorFormat, 2048, mColorHeight, 1};
    blocks.mConstants = mSplat;
    return blocks;
}

cpu::CurveTextures SplatModel::Curves() const {
    const auto* ramps = reinterpret_cast<const std::byte*>(mRamps.data());
    const auto* gradients = reinterpret_cast<const std::byte*>(mGradients.data());
    return {{ramps, Format::R32Float, gpu::kCurveSamples, gpu::kRampRows * mInstances, 1},
            {gradients, Format::RGBA32Float, gpu::kCurveSamples, mInstances, 1}};
}

KernelResults RunOnDevice(const SplatModel& model, const std::string& form) {
    GpuRun run;
    const ModelOnDevice device(run, model);
    GpuBuffer& records = run.AddBuffer(Guards(sizeof(gpu::SplatViewData), model.mCount));
    GpuBuffer& keys = run.AddBuffer(Guards(4, model.mCount));
    const std::uint32_t groups = (model.mCount + 255) / 256;
    run.Dispatch("CSCalcDistances" + form,
                 device.Get("t1 t2 b6 b11 t12 s14", {{"u8", &keys, nullptr, {}, 4},
                                                     {"b16", nullptr, nullptr, RecordBytes(model.mDistances), 0}}),
                 groups);
    run.Dispatch(
        "CSCalcViewData" + form,
        device.Get("t1 t2 t3 t4 t5 b6 b11 t12 t13 s14", {{"b7", nullptr, nullptr, RecordBytes(model.mView), 0},
                                                         {"b15", nullptr, nullptr, RecordBytes(model.mModel), 0},
                                                         {"u17", &records, nullptr, {}, sizeof(gpu::SplatViewData)}}),
        groups);
    run.Execute();
    return {Unguarded<gpu::SplatViewData>(records, model.mCount), Unguarded<std::uint32_t>(keys, model.mCount)};
}

KernelResults RunOnProcessor(const SplatModel& model) {
    KernelResults results;
    const cpu::CalcViewDataInputs view{model.Blocks(), model.Curves(), model.mView, model.mModel, model.mNoise};
    const cpu::CalcDistancesInputs distances{model.Blocks(), model.Curves(), model.mDistances, model.mNoise};
    for (std::uint32_t i = 0; i < model.mCount; ++i) {
        results.mViewData.push_back(cpu::CalcSplatViewData(view, i));
        results.mKeys.push_back(cpu::CalcSplatDistance(distances, i));
    }
    return results;
}

std::vector<gpu::ExportSplatData> ExportOnDevice(const SplatModel& model) {
    GpuRun run;
    const ModelOnDevice device(run, model);
    GpuBuffer& records = run.AddBuffer(Guards(sizeof(gpu::ExportSplatData), model.mCount));
    run.Dispatch("CSExportData",
                 device.Get("t1 t2 t3 t4 t5 b6",
                            {{"u18", &records, nullptr, {}, sizeof(gpu::ExportSplatData)},
                             {"b19", nullptr, nullptr, RecordBytes(gpu::ExportDataConstants{model.mCount}), 0}}),
                 (model.mCount + 255) / 256);
    run.Execute();
    return Unguarded<gpu::ExportSplatData>(records, model.mCount);
}

}  // namespace nimbrel::test
