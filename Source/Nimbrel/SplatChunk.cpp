#include "SplatChunk.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include "HalfFloat.h"
#include "SplatPacking.h"

namespace {

constexpr float kMaxFloat = std::numeric_limits<float>::max();

// Records have no alignment: a file may hold properties of one byte.
template <class T>
T ReadAs(const std::uint8_t* from) {
    T value;
    std::memcpy(&value, from, sizeof(value));
    return value;
}

template <class T>
void WriteAs(std::uint8_t* to, const T& value) {
    std::memcpy(to, &value, sizeof(value));
}

// The limits of one component; NaN never enters.
struct Range {
    float mMin = kMaxFloat;
    float mMax = -kMaxFloat;

    void Add(float value) {
        mMin = value < mMin ? value : mMin;
        mMax = value > mMax ? value : mMax;
    }
    float Normalise(float value) const { return (value - mMin) / (mMax - mMin); }
    std::uint32_t ToHalves() const {
        return static_cast<std::uint32_t>(FloatToHalfTruncated(mMin)) |
               static_cast<std::uint32_t>(FloatToHalfTruncated(mMax)) << 16;
    }
};

// The single-precision value nearest to e^v.
float Exp(float v) {
    const double exact = std::exp(static_cast<double>(v));
    return exact > static_cast<double>(kMaxFloat) ? std::numeric_limits<float>::infinity() : static_cast<float>(exact);
}

// The single-precision value nearest to v^(1/8). Three square roots in double precision round to it for
// every float (all mantissas of all exponents modulo 8 were tried), and unlike a library's power they are
// the same on every machine.
float EighthRoot(float v) { return static_cast<float>(std::sqrt(std::sqrt(std::sqrt(static_cast<double>(v))))); }

// Stored opacity: squares around one half spend the bits where opacities crowd, at 0 and 1.
float EncodeOpacity(float logit) {
    const float centred = 1.0f / (1.0f + Exp(-logit)) - 0.5f;
    const float sign = centred > 0.0f ? 1.0f : (centred < 0.0f ? -1.0f : 0.0f);
    return 2.0f * sign * centred * centred + 0.5f;
}

// A chunk's splats lie anywhere in the file: asking for them ahead hides most of the wait for memory.
void Prefetch(const std::uint8_t* from, std::size_t size) {
#if defined(__GNUC__)
    for (std::size_t i = 0; i < size; i += 64) __builtin_prefetch(from + i);
#else
    static_cast<void>(from), static_cast<void>(size);
#endif
}

bool Overlap(std::size_t beginA, std::size_t sizeA, std::size_t beginB, std::size_t sizeB) {
    return beginA < beginB + sizeB && beginB < beginA + sizeA;
}

template <int Coefficients>
void InterleaveSH(std::uint8_t* sh) {
    using Values = std::array<float, 3 * Coefficients>;
    const Values planes = ReadAs<Values>(sh);
    Values triples;
    for (int i = 0; i < Coefficients; ++i) {
        for (int c = 0; c < 3; ++c) triples[3 * i + c] = planes[c * Coefficients + i];
    }
    WriteAs(sh, triples);
}

// A splat's harmonics as lanes of vector registers: the count is rounded up to whole ones.
template <int Coefficients>
struct SHLanes {
    static constexpr int kCount = (3 * Coefficients + 3) / 4 * 4;
    std::array<float, kCount> mValues{};

    void Load(const std::uint8_t* sh) { std::memcpy(mValues.data(), sh, 12 * Coefficients); }
    void Store(std::uint8_t* sh) const { std::memcpy(sh, mValues.data(), 12 * Coefficients); }
};

template <int Coefficients>
std::array<Range, 3> CalcSHRanges(const std::uint8_t* firstSH, std::size_t recordSize, std::size_t count) {
    using Lanes = SHLanes<Coefficients>;
    Lanes low, high, value;
    low.mValues.fill(kMaxFloat);
    high.mValues.fill(-kMaxFloat);
    for (std::size_t i = 0; i < count; ++i) {
        value.Load(firstSH + i * recordSize);
        for (int k = 0; k < Lanes::kCount; ++k) {
            const float v = value.mValues[k];
            low.mValues[k] = v < low.mValues[k] ? v : low.mValues[k];
            high.mValues[k] = v > high.mValues[k] ? v : high.mValues[k];
        }
    }
    std::array<Range, 3> ranges;
    for (int k = 0; k < 3 * Coefficients; ++k) {
        Range& range = ranges[k % 3];
        range.mMin = std::min(range.mMin, low.mValues[k]);
        range.mMax = std::max(range.mMax, high.mValues[k]);
    }
    return ranges;
}

template <int Coefficients>
void NormaliseSH(const std::array<Range, 3>& ranges, std::uint8_t* sh) {
    using Lanes = SHLanes<Coefficients>;
    Lanes value, low, extent;
    for (int k = 0; k < Lanes::kCount; ++k) {
        low.mValues[k] = ranges[k % 3].mMin;
        extent.mValues[k] = ranges[k % 3].mMax - ranges[k % 3].mMin;
    }
    value.Load(sh);
    for (int k = 0; k < Lanes::kCount; ++k) value.mValues[k] = (value.mValues[k] - low.mValues[k]) / extent.mValues[k];
    value.Store(sh);
}

// The one place that turns the degree's coefficient count into a constant.
template <class Action>
void ForCoefficientCount(int count, const Action& action) {
    if (count == 3) action.template operator()<3>();
    if (count == 8) action.template operator()<8>();
    if (count == 15) action.template operator()<15>();
}

void NormaliseVector(const std::array<Range, 3>& ranges, std::uint8_t* vector) {
    auto value = ReadAs<glm::vec3>(vector);
    for (int c = 0; c < 3; ++c) value[c] = ranges[c].Normalise(value[c]);
    WriteAs(vector, value);
}

void AddVector(std::array<Range, 3>& ranges, const glm::vec3& value) {
    for (int c = 0; c < 3; ++c) ranges[c].Add(value[c]);
}

}  // namespace

RecordLayout::RecordLayout(const PLYFileData& file)
    : mFileStride(file.stride),
      mPosition(file.posOffset),
      mColor(file.dcOffset),
      mSH(mColor + sizeof(glm::vec3)),
      mOpacity(file.opacityOffset),
      mScale(file.scaleOffset),
      mRotation(file.rotOffset),
      mCoefficientCount(static_cast<int>((file.shLevel + 1) * (file.shLevel + 1) - 1)) {
    const std::size_t shSize = static_cast<std::size_t>(mCoefficientCount) * 12;
    mRecordSize = std::max({mFileStride, mPosition + 12, mSH + shSize, mOpacity + 4, mScale + 12, mRotation + 16});
    mPlainPosition = mPosition + 12 <= mFileStride && !Overlap(mPosition, 12, mSH, shSize);
}

void LoadRecord(const PLYFileData& file, const RecordLayout& layout, std::size_t index, std::uint8_t* record) {
    std::memcpy(record, file.data.data() + index * layout.mFileStride, layout.mFileStride);
    std::fill(record + layout.mFileStride, record + layout.mRecordSize, std::uint8_t{0});
    ForCoefficientCount(layout.mCoefficientCount, [&]<int N>() { InterleaveSH<N>(record + layout.mSH); });
}

struct SplatChunk::Ranges {
    std::array<Range, 3> mPosition, mScale, mColor, mSH;
    Range mOpacity;
};

SplatChunk::SplatChunk(const PLYFileData& file) : mFile(file), mLayout(file), mRecords(GetMemorySize(file)) {}

std::size_t SplatChunk::GetMemorySize(const PLYFileData& file) {
    const std::int32_t records = std::clamp(file.splatCount, 0, GaussianSplatAsset::kChunkSize);
    return static_cast<std::size_t>(records) * RecordLayout(file).mRecordSize;
}

void SplatChunk::Load(std::span<const std::uint32_t> indices) {
    mCount = indices.size();
    constexpr std::size_t kAhead = 6;
    for (std::size_t i = 0; i < mCount; ++i) {
        if (i + kAhead < mCount)
            Prefetch(mFile.data.data() + indices[i + kAhead] * mLayout.mFileStride, mLayout.mFileStride);
        LoadRecord(mFile, mLayout, indices[i], Record(i));
        Transform(Record(i));
    }
}

void SplatChunk::Transform(std::uint8_t* record) const {
    const auto r = ReadAs<glm::vec4>(record + mLayout.mRotation);  // Real part first.
    const float length = std::sqrt(r.x * r.x + r.y * r.y + r.z * r.z + r.w * r.w);
    WriteAs(record + mLayout.mRotation,
            EncodeRotation(glm::vec4(r.y / length, r.z / length, r.w / length, r.x / length)));

    auto scale = ReadAs<glm::vec3>(record + mLayout.mScale);
    for (int c = 0; c < 3; ++c) scale[c] = EighthRoot(std::abs(Exp(scale[c])));
    WriteAs(record + mLayout.mScale, scale);

    auto color = ReadAs<glm::vec3>(record + mLayout.mColor);
    for (int c = 0; c < 3; ++c) color[c] = color[c] * 0.2820948f + 0.5f;
    WriteAs(record + mLayout.mColor, color);

    WriteAs(record + mLayout.mOpacity, EncodeOpacity(ReadAs<float>(record + mLayout.mOpacity)));
}

SplatChunk::Ranges SplatChunk::CalcRanges() const {
    Ranges ranges;
    for (std::size_t i = 0; i < mCount; ++i) {
        AddVector(ranges.mPosition, GetPosition(i));
        AddVector(ranges.mScale, GetScale(i));
        const glm::vec4 color = GetColor(i);
        AddVector(ranges.mColor, glm::vec3(color));
        ranges.mOpacity.Add(color.w);
    }
    ForCoefficientCount(mLayout.mCoefficientCount, [&]<int N>() {
        ranges.mSH = CalcSHRanges<N>(Record(0) + mLayout.mSH, mLayout.mRecordSize, mCount);
    });
    return ranges;
}

GaussianSplatAsset::ChunkInfo SplatChunk::Normalise(bool normaliseSH) {
    const Ranges ranges = CalcRanges();
    for (std::size_t i = 0; i < mCount; ++i) {
        std::uint8_t* record = Record(i);
        NormaliseVector(ranges.mPosition, record + mLayout.mPosition);
        NormaliseVector(ranges.mScale, record + mLayout.mScale);
        NormaliseVector(ranges.mColor, record + mLayout.mColor);
        std::uint8_t* opacity = record + mLayout.mOpacity;
        WriteAs(opacity, ranges.mOpacity.Normalise(ReadAs<float>(opacity)));
        if (!normaliseSH) continue;
        ForCoefficientCount(mLayout.mCoefficientCount,
                            [&]<int N>() { NormaliseSH<N>(ranges.mSH, record + mLayout.mSH); });
    }
    const auto pair = [](const Range& range) { return glm::vec2(range.mMin, range.mMax); };
    return {
        .colR = ranges.mColor[0].ToHalves(),
        .colG = ranges.mColor[1].ToHalves(),
        .colB = ranges.mColor[2].ToHalves(),
        .colA = ranges.mOpacity.ToHalves(),
        .posX = pair(ranges.mPosition[0]),
        .posY = pair(ranges.mPosition[1]),
        .posZ = pair(ranges.mPosition[2]),
        .sclX = ranges.mScale[0].ToHalves(),
        .sclY = ranges.mScale[1].ToHalves(),
        .sclZ = ranges.mScale[2].ToHalves(),
        .shR = ranges.mSH[0].ToHalves(),
        .shG = ranges.mSH[1].ToHalves(),
        .shB = ranges.mSH[2].ToHalves(),
    };
}

glm::vec3 SplatChunk::GetPosition(std::size_t i) const { return ReadAs<glm::vec3>(Record(i) + mLayout.mPosition); }

glm::vec3 SplatChunk::GetScale(std::size_t i) const { return ReadAs<glm::vec3>(Record(i) + mLayout.mScale); }

glm::vec4 SplatChunk::GetColor(std::size_t i) const {
    return glm::vec4(ReadAs<glm::vec3>(Record(i) + mLayout.mColor), ReadAs<float>(Record(i) + mLayout.mOpacity));
}

glm::vec4 SplatChunk::GetRotation(std::size_t i) const { return ReadAs<glm::vec4>(Record(i) + mLayout.mRotation); }

void SplatChunk::GetSH(std::size_t i, float* out) const {
    std::memcpy(out, Record(i) + mLayout.mSH, static_cast<std::size_t>(mLayout.mCoefficientCount) * 12);
}
