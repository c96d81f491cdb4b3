#include <fmt/format.h>

#include "../Format.h"
#include "../Quantities.h"
#include "NimbrelConvert/Errors.h"

/// Layout: 32 bytes for each splat and nothing else: position and scale as three floats each (scales are lengths), red,
/// green, blue and opacity in a byte each, the quaternion (real part first) in a byte each about 128.
namespace nimbrel::convert {
namespace {

constexpr std::size_t kRecord = 32;

class SplatFileReader : public SplatReader {
public:
    explicit SplatFileReader(const Input& input) : mSource(input.mSource) {
        mFacts.mFormat = ".splat";
        mFacts.mCount = mSource->GetSize() / kRecord;
        CheckCount(mFacts.mCount);
        if (mSource->GetSize() % kRecord != 0) {
            throw FormatError(fmt::format("it has {} bytes, which is no whole number of splats of {} bytes",
                                          mSource->GetSize(), kRecord));
        }
    }

private:
    void DoRead(std::uint64_t first, std::size_t count, float* rows) override {
        static const auto colors = MakeByteTable([](float v) { return DcFromColor(v / 255.0f); });
        static const auto logits = MakeByteTable([](float v) { return LogitFromOpacity(v / 255.0f); });
        mBlock.resize(count * kRecord);
        mSource->Read(first * kRecord, mBlock);
        const RowLayout layout = GetLayout();
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint8_t* const record = mBlock.data() + i * kRecord;
            float* const row = rows + i * layout.Size();
            std::memcpy(row + RowLayout::kPosition, record, 3 * sizeof(float));
            for (std::size_t a = 0; a < 3; ++a) {
                row[layout.Scale() + a] = LogFromScale(Load<float>(record + 12 + 4 * a));
                row[RowLayout::kDc + a] = colors[record[24 + a]];
            }
            row[layout.Opacity()] = logits[record[27]];
            float* const rotation = row + layout.Rotation();
            for (std::size_t a = 0; a < 4; ++a) rotation[a] = (static_cast<float>(record[28 + a]) - 128.0f) / 128.0f;
            NormaliseQuaternion(rotation);
        }
    }

    std::shared_ptr<ByteSource> mSource;
    Bytes mBlock;
};

bool Recognise(const Input& input) { return input.mExtension == ".splat"; }

std::unique_ptr<SplatReader> Open(const Input& input, const ReadOptions&) {
    return std::make_unique<SplatFileReader>(input);
}

}  // namespace

const Format kSplatFormat = {{".splat", ".splat", "a .splat file"}, Recognise, Open};

}  // namespace nimbrel::convert
