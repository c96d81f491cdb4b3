#include "SplatSample.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstring>

#include "Nimbrel/PLYHeader.h"

namespace nimbrel::importer {
namespace {

using Clock = std::chrono::steady_clock;

/// Splats of a run. Files are often sorted by place: long runs would show as patches, short ones cost a disk's time.
constexpr std::uint32_t kRun = 8;
/// For a disk that has to look for each run.
constexpr std::chrono::milliseconds kPatience{100};

/// Numbers 0 to 2^bits - 1, each half of which is evenly spread, and each half of that, and so on.
std::uint32_t ReverseBits(std::uint32_t number, int bits) {
    std::uint32_t reversed = 0;
    for (int i = 0; i < bits; ++i) reversed |= (number >> i & 1U) << (bits - 1 - i);
    return reversed;
}

/// Reads `count` splats from `first` on to the end of `data`; what a file that grew shorter lacks is left out.
void ReadRun(std::istream& file, const PlyInspection& inspection, std::uint64_t first, std::uint64_t count,
             std::vector<std::uint8_t>& data) {
    const std::uint64_t stride = inspection.mLayout.stride;
    const std::size_t begin = data.size();
    data.resize(begin + count * stride);
    file.clear();
    file.seekg(static_cast<std::streamoff>(inspection.mBodyOffset + first * stride));
    file.read(reinterpret_cast<char*>(data.data() + begin), static_cast<std::streamsize>(count * stride));
    const auto read = static_cast<std::uint64_t>(std::max<std::streamsize>(file.gcount(), 0));
    data.resize(begin + read / stride * stride);
}

}  // namespace

PLYFileData ReadSample(const std::u16string& path, const PlyInspection& inspection, std::uint32_t size) {
    PLYFileData sample = inspection.mLayout;
    sample.splatCount = 0;
    const std::uint64_t stored = inspection.CountStored();
    if (stored == 0) return sample;
    std::ifstream file = OpenPLYFile(path, false);
    sample.data.reserve(std::min<std::uint64_t>(stored, size) * sample.stride);
    if (stored <= size) {
        ReadRun(file, inspection, 0, stored, sample.data);
    } else {
        const int bits = std::bit_width(size / kRun) - 1;
        const std::uint32_t runs = 1U << bits;
        const Clock::time_point end = Clock::now() + kPatience;
        for (std::uint32_t i = 0; i < runs && Clock::now() < end; ++i)
            ReadRun(file, inspection, (stored - kRun) * ReverseBits(i, bits) / (runs - 1), kRun, sample.data);
    }
    sample.splatCount = static_cast<std::int32_t>(sample.data.size() / sample.stride);
    return sample;
}

}  // namespace nimbrel::importer
