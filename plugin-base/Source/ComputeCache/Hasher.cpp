#include "PluginBase/ComputeCache/Hasher.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace zeb {
namespace {

// Constants of RFC 1321, section 3.4: floor(abs(sin(i + 1)) * 2^32), and the rotations of each round.
constexpr std::array<std::uint32_t, 64> kSineTable = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391,
};
constexpr int kRotations[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

constexpr std::size_t kBlockSize = 64;
constexpr std::size_t kLengthOffset = 56;  // where the bit count stands in the last block

using Words = std::array<std::uint32_t, 4>;

void AddBlock(Words& sums, const unsigned char* block) {
    std::array<std::uint32_t, 16> input{};
    for (std::size_t i = 0; i < input.size(); ++i) {
        const unsigned char* const p = block + 4 * i;
        input[i] = p[0] | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24;
    }
    auto [a, b, c, d] = sums;
    for (std::uint32_t i = 0; i < 64; ++i) {
        const std::uint32_t round = i / 16;
        std::uint32_t mix = 0;
        std::uint32_t index = 0;
        switch (round) {
            case 0: mix = (b & c) | (~b & d), index = i; break;
            case 1: mix = (b & d) | (c & ~d), index = 5 * i + 1; break;
            case 2: mix = b ^ c ^ d, index = 3 * i + 5; break;
            default: mix = c ^ (b | ~d), index = 7 * i; break;
        }
        const std::uint32_t sum = a + mix + kSineTable[i] + input[index % 16];
        a = d;
        d = c;
        c = b;
        b += std::rotl(sum, kRotations[round][i % 4]);
    }
    sums = {sums[0] + a, sums[1] + b, sums[2] + c, sums[3] + d};
}

class HasherState final : public HasherBase::State {
public:
    void Mix(const void* pointer, std::size_t size) override {
        const auto* bytes = static_cast<const unsigned char*>(pointer);
        while (size > 0) {
            const std::size_t filled = mLength % kBlockSize;
            const std::size_t count = std::min(size, kBlockSize - filled);
            std::memcpy(mBlock.data() + filled, bytes, count);
            bytes += count;
            size -= count;
            mLength += count;
            if (mLength % kBlockSize == 0) AddBlock(mSums, mBlock.data());
        }
    }

    // Pads copies, so that the running state stays as it is.
    CacheKey Finish() override {
        Words sums = mSums;
        auto block = mBlock;
        std::size_t filled = mLength % kBlockSize;
        block[filled++] = 0x80;
        if (filled > kLengthOffset) {
            std::fill(block.begin() + static_cast<std::ptrdiff_t>(filled), block.end(), static_cast<unsigned char>(0));
            AddBlock(sums, block.data());
            filled = 0;
        }
        std::fill(block.begin() + static_cast<std::ptrdiff_t>(filled), block.end(), static_cast<unsigned char>(0));
        const std::uint64_t bits = mLength * 8;
        for (std::size_t i = 0; i < 8; ++i) block[kLengthOffset + i] = static_cast<unsigned char>(bits >> (8 * i));
        AddBlock(sums, block.data());

        std::array<unsigned char, 16> digest{};
        for (std::size_t i = 0; i < digest.size(); ++i)
            digest[i] = static_cast<unsigned char>(sums[i / 4] >> (8 * (i % 4)));
        return std::bit_cast<CacheKey>(digest);
    }

private:
    Words mSums = {0x67452301U, 0xefcdab89U, 0x98badcfeU, 0x10325476U};
    std::array<unsigned char, kBlockSize> mBlock{};
    std::uint64_t mLength = 0;  // bytes mixed in so far
};

}  // namespace

UniquePtr<HasherBase::State> Hasher::CreateState() { return MakeUnique<HasherState>(); }

}  // namespace zeb
