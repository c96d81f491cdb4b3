#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "../Format.h"
#include "../Quantities.h"
#include "NimbrelConvert/Errors.h"

/// Layout: a header of 4096 bytes, a header of 1024 bytes for each section, then the sections: the sizes of buckets
/// that are not full (4 bytes each), the buckets' centres (three floats in a record of stated size), the splats. A
/// splat holds its place (floats, or 16 bits within its bucket), scales as lengths and the quaternion with the real
/// part first (floats or halves), red, green, blue and opacity in a byte each, and harmonics: all colours of band 1,
/// then of band 2, as floats, halves or bytes of a stated range.
namespace nimbrel::convert {
namespace {

constexpr std::size_t kFileHeader = 4096;
constexpr std::size_t kSectionHeader = 1024;

/// Bytes of each group of values at the three levels of compression.
struct Level {
    std::size_t mPosition, mScale, mRotation, mHarmonic;

    std::size_t Size(int degree) const {
        return mPosition + mScale + mRotation + 4 + mHarmonic * 3 * static_cast<std::size_t>(CoefficientCount(degree));
    }
};

constexpr Level kLevels[] = {{12, 12, 16, 4}, {6, 6, 8, 2}, {6, 6, 8, 1}};

struct Section {
    std::uint64_t mFirst = 0;  ///< number of its first splat in the file
    std::uint64_t mCount = 0;
    std::uint64_t mStart = 0;  ///< of its splats, in bytes
    int mDegree = 0;
    std::uint32_t mBucketSize = 0;
    std::uint64_t mFullBuckets = 0;
    float mStep = 0;                       ///< of a position, in file units
    float mRange = 0;                      ///< half of the positions' numbers
    std::vector<std::uint64_t> mPartEnds;  ///< splat behind each bucket that is not full, within the section
    std::vector<float> mCenters;           ///< three for each bucket
};

class KsplatReader : public SplatReader {
public:
    explicit KsplatReader(const Input& input) : mSource(input.mSource) {
        Bytes header(kFileHeader);
        mSource->Read(0, header);
        if (header[0] != 0 || header[1] == 0) {
            throw FormatError(fmt::format("it is .ksplat of version {}.{}; versions 0.1 and later below 1 are read",
                                          header[0], header[1]));
        }
        const std::uint32_t maxSections = Load<std::uint32_t>(&header[4]), sections = Load<std::uint32_t>(&header[8]);
        const std::uint32_t level = Load<std::uint16_t>(&header[20]);
        if (level >= std::size(kLevels))
            throw FormatError(fmt::format("it has the unknown compression level {}", level));
        mLevel = level;
        mLowest = Load<float>(&header[36]);
        mHighest = Load<float>(&header[40]);
        // Files from before the range was stated.
        if (mLowest == 0 && mHighest == 0) mHighest = 1.5f, mLowest = -1.5f;
        if (sections > maxSections || maxSections > mSource->GetSize() / kSectionHeader) {
            throw FormatError(fmt::format("it claims {} of {} sections, which its {} bytes cannot hold", sections,
                                          maxSections, mSource->GetSize()));
        }
        std::uint64_t place = kFileHeader + std::uint64_t{maxSections} * kSectionHeader;
        for (std::uint32_t i = 0; i < sections; ++i) place = OpenSection(i, place);
        mFacts.mFormat = fmt::format(".ksplat, compression {}", level);
        CheckCount(mFacts.mCount);
        for (const Section& section : mSections) mFacts.mDegree = std::max(mFacts.mDegree, section.mDegree);
    }

private:
    std::uint64_t OpenSection(std::uint32_t number, std::uint64_t place) {
        Bytes header(kSectionHeader);
        mSource->Read(kFileHeader + std::uint64_t{number} * kSectionHeader, header);
        const auto word = [&](std::size_t offset) { return Load<std::uint32_t>(&header[offset]); };
        Section section;
        section.mCount = word(0);
        const std::uint64_t maxCount = word(4), buckets = word(12), partBuckets = word(36);
        section.mBucketSize = word(8);
        section.mFullBuckets = word(32);
        section.mDegree = Load<std::uint16_t>(&header[40]);
        const std::uint64_t centerSize = Load<std::uint16_t>(&header[20]);
        section.mRange = static_cast<float>(word(24) == 0 ? 32767 : word(24));
        section.mStep = Load<float>(&header[16]) / 2.0f / section.mRange;
        if (section.mDegree > 2) throw FormatError("it has harmonics above degree 2, which .ksplat does not define");
        const std::uint64_t size = kLevels[mLevel].Size(section.mDegree);
        const std::uint64_t left = mSource->GetSize() - std::min(mSource->GetSize(), place);
        const std::uint64_t need = 4 * partBuckets + centerSize * buckets;
        if (need > left || section.mCount > maxCount || maxCount > (left - need) / size) {
            throw FormatError(fmt::format("it is cut short: its section {} states {} splats in {} buckets", number + 1,
                                          maxCount, buckets));
        }
        if (mLevel > 0) LoadBuckets(section, place, partBuckets, buckets, centerSize);
        section.mStart = place + need;
        section.mFirst = mFacts.mCount;
        mFacts.mCount += section.mCount;
        mSections.push_back(std::move(section));
        return mSections.back().mStart + maxCount * size;
    }

    void LoadBuckets(Section& section, std::uint64_t place, std::uint64_t partBuckets, std::uint64_t buckets,
                     std::uint64_t centerSize) {
        if (centerSize < 12 || section.mFullBuckets > buckets || partBuckets > buckets - section.mFullBuckets) {
            throw FormatError("its buckets are not those of .ksplat");
        }
        Bytes parts(static_cast<std::size_t>(4 * partBuckets));
        mSource->Read(place, parts);
        std::uint64_t end = section.mFullBuckets * section.mBucketSize;
        for (std::size_t i = 0; i < partBuckets; ++i) {
            end += Load<std::uint32_t>(&parts[4 * i]);
            section.mPartEnds.push_back(end);
        }
        if (end < section.mCount) throw FormatError("its buckets hold fewer splats than its section states");
        Bytes centers(static_cast<std::size_t>(centerSize * buckets));
        mSource->Read(place + 4 * partBuckets, centers);
        for (std::size_t b = 0; b < buckets; ++b) {
            for (std::size_t a = 0; a < 3; ++a) {
                section.mCenters.push_back(Load<float>(&centers[b * static_cast<std::size_t>(centerSize) + 4 * a]));
            }
        }
    }

    void DoRead(std::uint64_t first, std::size_t count, float* rows) override {
        for (const Section& section : mSections) {
            const std::uint64_t begin = std::max(first, section.mFirst);
            const std::uint64_t end = std::min(first + count, section.mFirst + section.mCount);
            if (begin >= end) continue;
            ReadRun(section, begin - section.mFirst, static_cast<std::size_t>(end - begin),
                    rows + static_cast<std::size_t>(begin - first) * GetLayout().Size());
        }
    }

    void ReadRun(const Section& section, std::uint64_t first, std::size_t count, float* rows) {
        const Level& level = kLevels[mLevel];
        const std::size_t size = level.Size(section.mDegree);
        mBlock.resize(count * size);
        mSource->Read(section.mStart + first * size, mBlock);
        for (std::size_t i = 0; i < count; ++i) {
            float* const row = rows + i * GetLayout().Size();
            const std::uint8_t* const splat = mBlock.data() + i * size;
            ReadPosition(section, first + i, splat, row);
            ReadShape(splat + level.mPosition, row);
            ReadHarmonics(section.mDegree, splat + level.mPosition + level.mScale + level.mRotation + 4, row);
        }
    }

    void ReadPosition(const Section& section, std::uint64_t splat, const std::uint8_t* from, float* row) const {
        if (mLevel == 0) {
            std::memcpy(row, from, 3 * sizeof(float));
            return;
        }
        std::uint64_t bucket = 0;
        if (splat < section.mFullBuckets * section.mBucketSize) {
            bucket = splat / section.mBucketSize;
        } else {
            const auto part = std::upper_bound(section.mPartEnds.begin(), section.mPartEnds.end(), splat);
            bucket = section.mFullBuckets + static_cast<std::uint64_t>(part - section.mPartEnds.begin());
        }
        for (std::size_t a = 0; a < 3; ++a) {
            const auto value = static_cast<float>(Load<std::uint16_t>(from + 2 * a));
            row[a] =
                (value - section.mRange) * section.mStep + section.mCenters[static_cast<std::size_t>(3 * bucket) + a];
        }
    }

    float LoadNumber(const std::uint8_t* from, std::size_t index) const {
        return mLevel == 0 ? Load<float>(from + 4 * index) : FloatFromHalf(Load<std::uint16_t>(from + 2 * index));
    }

    void ReadShape(const std::uint8_t* from, float* row) const {
        static const auto colors = MakeByteTable([](float v) { return DcFromColor(v / 255.0f); });
        static const auto logits = MakeByteTable([](float v) { return LogitFromOpacity(v / 255.0f); });
        const Level& level = kLevels[mLevel];
        const RowLayout layout = GetLayout();
        for (std::size_t a = 0; a < 3; ++a) row[layout.Scale() + a] = LogFromScale(LoadNumber(from, a));
        for (std::size_t a = 0; a < 4; ++a) row[layout.Rotation() + a] = LoadNumber(from + level.mScale, a);
        NormaliseQuaternion(row + layout.Rotation());
        const std::uint8_t* const color = from + level.mScale + level.mRotation;
        for (std::size_t c = 0; c < 3; ++c) row[RowLayout::kDc + c] = colors[color[c]];
        row[layout.Opacity()] = logits[color[3]];
    }

    void ReadHarmonics(int degree, const std::uint8_t* from, float* row) const {
        const std::size_t coefficients = GetLayout().Coefficients();
        std::fill_n(row + RowLayout::kRest, 3 * coefficients, 0.0f);
        std::size_t index = 0, low = 0;
        for (int band = 1; band <= degree; ++band) {
            const auto width = static_cast<std::size_t>(2 * band + 1);
            for (std::size_t c = 0; c < 3; ++c) {
                for (std::size_t k = 0; k < width; ++k, ++index) {
                    const float value = mLevel == 2
                                            ? mLowest + static_cast<float>(from[index]) / 255.0f * (mHighest - mLowest)
                                            : LoadNumber(from, index);
                    row[RowLayout::kRest + c * coefficients + low + k] = value;
                }
            }
            low += width;
        }
    }

    std::shared_ptr<ByteSource> mSource;
    std::size_t mLevel = 0;
    float mLowest = 0, mHighest = 0;
    std::vector<Section> mSections;
    Bytes mBlock;
};

bool Recognise(const Input& input) { return input.mExtension == ".ksplat"; }

std::unique_ptr<SplatReader> Open(const Input& input, const ReadOptions&) {
    return std::make_unique<KsplatReader>(input);
}

}  // namespace

const Format kKsplatFormat = {{".ksplat", ".ksplat", "a .ksplat file"}, Recognise, Open};

}  // namespace nimbrel::convert
