#include <array>

#include <fmt/format.h>

#include "../Format.h"
#include "../Quantities.h"
#include "../Unpack.h"
#include "NimbrelConvert/Errors.h"

/// Layout: a header, then each attribute of all splats: positions, opacities, colours, scales, rotations, harmonics.
/// Versions 1 to 3 are one gzip stream with a header of 16 bytes; version 4 has a header of 32 bytes, records that may
/// be passed over, a table of packed and unpacked sizes, and a zstd frame for each attribute. Axes are x right, y up, z
/// back, so that half a turn about x makes them those of PLY.
namespace nimbrel::convert {
namespace {

constexpr std::uint32_t kMagic = 0x5053474e;  // "NGSP"

struct SpzHeader {
    std::uint32_t mVersion = 0;
    std::uint32_t mCount = 0;
    std::uint8_t mDegree = 0;
    std::uint8_t mFractionBits = 0;
    std::uint8_t mFlags = 0;
};

constexpr std::uint8_t kIsAntialiased = 1;

enum Attribute : std::size_t { Positions, Opacities, Colors, Scales, Rotations, Harmonics, AttributeCount };

SpzHeader ParseHeader(std::span<const std::uint8_t> bytes) {
    if (Load<std::uint32_t>(&bytes[0]) != kMagic) throw FormatError("it is a gzip file that is no SPZ model");
    const SpzHeader header{Load<std::uint32_t>(&bytes[4]), Load<std::uint32_t>(&bytes[8]), bytes[12], bytes[13],
                           bytes[14]};
    if (header.mVersion < 1 || header.mVersion > 4) {
        throw FormatError(fmt::format("it is SPZ of version {}; versions 1 to 4 are read", header.mVersion));
    }
    CheckCount(header.mCount);
    if (header.mDegree > 4) throw FormatError(fmt::format("it has the unknown degree {}", header.mDegree));
    if (header.mFractionBits > 23) {
        throw FormatError(fmt::format("it has positions with {} bits of fraction", header.mFractionBits));
    }
    return header;
}

/// Bytes of each attribute for one splat.
std::array<std::uint64_t, AttributeCount> GetStrides(const SpzHeader& header) {
    return {header.mVersion == 1 ? 6U : 9U,
            1,
            3,
            3,
            header.mVersion >= 3 ? 4U : 3U,
            3 * static_cast<std::uint64_t>(CoefficientCount(header.mDegree))};
}

/// Signs of the coefficients under half a turn about x: those of the functions that are odd in y and z together.
constexpr float kTurned[15] = {-1, -1, 1, -1, 1, 1, -1, 1, -1, 1, -1, -1, 1, -1, 1};

class SpzReader : public SplatReader {
public:
    SpzReader(const Input& input, const ReadOptions& options)
        : mPacked(input.mSource->ReadAll(kMaxPacked)), mKeepsAxes(options.mKeepAxes) {
        if (input.StartsWith("NGSP")) {
            OpenFrames();
        } else {
            OpenStream();
        }
        mFacts.mFormat = fmt::format("SPZ {}", mHeader.mVersion);
        mFacts.mCount = mHeader.mCount;
        mFacts.mDegree = CutDegree(mHeader.mDegree, mFacts);
        if ((mHeader.mFlags & kIsAntialiased) != 0) mFacts.mRenderMode = RenderMode::Antialiased;
    }

private:
    // Far above any model, and what 32 bits of the compressors take.
    static constexpr std::uint64_t kMaxPacked = std::uint64_t{4} << 30;
    static constexpr std::uint64_t kStreamHeader = 16;  ///< bytes

    void SetHeader(const SpzHeader& header) {
        mHeader = header;
        mStrides = GetStrides(header);
        for (const std::uint64_t stride : mStrides) mSize += stride * header.mCount;
        CheckUnfolding(mPacked.size(), mSize);
    }

    void OpenStream() {
        SetHeader(ParseHeader(GzipStream(mPacked).Read(kStreamHeader)));
        if (mHeader.mVersion > 3) throw FormatError("it is SPZ 4 in a gzip stream, where version 4 has none");
    }

    void OpenFrames() {
        constexpr std::size_t kHeaderSize = 32, kEntrySize = 16;
        if (mPacked.size() < kHeaderSize) throw FormatError("it is cut short in its header");
        SetHeader(ParseHeader(mPacked));
        if (mHeader.mVersion != 4) throw FormatError("it is SPZ below 4 that is not packed");
        const std::size_t frames = mPacked[15], table = Load<std::uint32_t>(&mPacked[16]);
        if (frames < (mHeader.mDegree > 0 ? AttributeCount : AttributeCount - 1)) {
            throw FormatError(fmt::format("it has {} streams, fewer than its attributes", frames));
        }
        if (table < kHeaderSize || table > mPacked.size() || mPacked.size() - table < frames * kEntrySize) {
            throw FormatError("it is cut short in its table of streams");
        }
        std::uint64_t place = table + frames * kEntrySize;
        for (std::size_t i = 0; i < AttributeCount && i < frames; ++i) {
            const auto packed = Load<std::uint64_t>(&mPacked[table + i * kEntrySize]);
            const auto size = Load<std::uint64_t>(&mPacked[table + i * kEntrySize + 8]);
            if (size != mStrides[i] * mHeader.mCount) {
                throw FormatError(fmt::format("its stream {} states {} bytes, where {} splats take {}", i + 1, size,
                                              mHeader.mCount, mStrides[i] * mHeader.mCount));
            }
            if (packed > mPacked.size() - place) {
                throw FormatError(fmt::format("it is cut short: its stream {} states {} bytes, but {} are left", i + 1,
                                              packed, mPacked.size() - place));
            }
            mFrames[i] = std::span(mPacked).subspan(static_cast<std::size_t>(place), static_cast<std::size_t>(packed));
            place += packed;
        }
    }

    void UnpackAll() {
        const bool isStream = mHeader.mVersion <= 3;
        if (isStream) mStream = UnpackGzip(mPacked, kStreamHeader + mSize);
        std::uint64_t place = kStreamHeader;
        for (std::size_t i = 0; i < AttributeCount; ++i) {
            const std::uint64_t size = mStrides[i] * mHeader.mCount;
            if (!isStream && size != 0) mUnpacked[i] = UnpackZstd(mFrames[i], size);
            mAttributes[i] = isStream ? std::span<const std::uint8_t>(mStream).subspan(static_cast<std::size_t>(place),
                                                                                       static_cast<std::size_t>(size))
                                      : mUnpacked[i];
            place += size;
        }
        mPacked = {};
    }

    const std::uint8_t* At(Attribute attribute, std::uint64_t splat) const {
        return mAttributes[attribute].data() + static_cast<std::size_t>(splat * mStrides[attribute]);
    }

    void DoRead(std::uint64_t first, std::size_t count, float* rows) override {
        static const auto logits = MakeByteTable([](float v) { return LogitFromOpacity(v / 255.0f); });
        static const auto colors = MakeByteTable([](float v) { return (v / 255.0f - 0.5f) / 0.15f; });
        static const auto scales = MakeByteTable([](float v) { return v / 16.0f - 10.0f; });
        if (first == 0) UnpackAll();
        const RowLayout layout = GetLayout();
        for (std::size_t i = 0; i < count; ++i) {
            float* const row = rows + i * layout.Size();
            const std::uint64_t splat = first + i;
            ReadPosition(At(Positions, splat), row);
            for (std::size_t c = 0; c < 3; ++c) {
                row[RowLayout::kDc + c] = colors[At(Colors, splat)[c]];
                row[layout.Scale() + c] = scales[At(Scales, splat)[c]];
            }
            row[layout.Opacity()] = logits[*At(Opacities, splat)];
            ReadRotation(At(Rotations, splat), row + layout.Rotation());
            if (mFacts.mDegree > 0) ReadHarmonics(At(Harmonics, splat), row + RowLayout::kRest);
        }
    }

    void ReadPosition(const std::uint8_t* from, float* to) const {
        const float sign = mKeepsAxes ? 1.0f : -1.0f;
        const float step = 1.0f / static_cast<float>(1U << mHeader.mFractionBits);
        for (std::size_t a = 0; a < 3; ++a) {
            if (mHeader.mVersion == 1) {
                to[a] = FloatFromHalf(Load<std::uint16_t>(from + 2 * a));
            } else {
                // Three bytes, the last with the sign.
                const std::uint32_t bits =
                    from[3 * a] | (from[3 * a + 1] << 8) | (std::uint32_t{from[3 * a + 2]} << 16);
                to[a] = static_cast<float>(static_cast<std::int32_t>(bits << 8) >> 8) * step;
            }
        }
        to[1] *= sign;
        to[2] *= sign;
    }

    // The file has x, y, z, w.
    void ReadRotation(const std::uint8_t* from, float* to) const {
        float q[4];
        if (mHeader.mVersion < 3) {
            for (std::size_t a = 0; a < 3; ++a) q[a] = static_cast<float>(from[a]) / 127.5f - 1.0f;
            RestoreQuaternion(q, 3, q);
        } else {
            // The largest one's place in two bits, then a sign and 9 bits for each other one, the last one lowest.
            const auto bits = Load<std::uint32_t>(from);
            float three[3];
            for (std::uint32_t i = 0; i < 3; ++i) {
                const std::uint32_t part = bits >> (20 - 10 * i);
                const float size = static_cast<float>(part & 511U) / 511.0f * 0.70710678f;
                three[i] = (part & 512U) != 0 ? -size : size;
            }
            RestoreQuaternion(three, bits >> 30, q);
        }
        const float sign = mKeepsAxes ? 1.0f : -1.0f;
        to[0] = q[3];
        to[1] = q[0];
        to[2] = q[1] * sign;
        to[3] = q[2] * sign;
        NormaliseQuaternion(to);
    }

    // The file has the colours of each coefficient together.
    void ReadHarmonics(const std::uint8_t* from, float* to) const {
        static const auto values = MakeByteTable([](float v) { return (v - 128.0f) / 128.0f; });
        const std::size_t coefficients = GetLayout().Coefficients();
        for (std::size_t k = 0; k < coefficients; ++k) {
            const float sign = mKeepsAxes ? 1.0f : kTurned[k];
            for (std::size_t c = 0; c < 3; ++c) to[c * coefficients + k] = values[from[3 * k + c]] * sign;
        }
    }

    Bytes mPacked;
    bool mKeepsAxes;
    SpzHeader mHeader;
    std::array<std::uint64_t, AttributeCount> mStrides{};
    std::uint64_t mSize = 0;  ///< of all attributes
    std::array<std::span<const std::uint8_t>, AttributeCount> mFrames;
    Bytes mStream;                                ///< of versions 1 to 3, unpacked
    std::array<Bytes, AttributeCount> mUnpacked;  ///< of version 4
    std::array<std::span<const std::uint8_t>, AttributeCount> mAttributes;
};

bool Recognise(const Input& input) {
    return input.StartsWith("NGSP") || (input.StartsWith("\x1f\x8b") && input.mExtension != ".ply");
}

std::unique_ptr<SplatReader> Open(const Input& input, const ReadOptions& options) {
    return std::make_unique<SpzReader>(input, options);
}

}  // namespace

const Format kSpzFormat = {{"SPZ", ".spz", "an SPZ model"}, Recognise, Open};

}  // namespace nimbrel::convert
