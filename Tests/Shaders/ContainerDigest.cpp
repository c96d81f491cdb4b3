#include "ContainerDigest.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

namespace nimbrel::test {
namespace {

constexpr std::size_t kDigestEnd = 20;
constexpr std::size_t kBlock = 64;

using State = std::array<std::uint32_t, 4>;

void AddBlock(State& state, const std::uint8_t* block) {
    static constexpr int kTurns[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
    std::uint32_t words[16];
    std::memcpy(words, block, sizeof(words));
    auto [a, b, c, d] = state;
    for (std::uint32_t i = 0; i < 64; ++i) {
        const std::uint32_t round = i / 16;
        const std::uint32_t mixed[] = {(b & c) | (~b & d), (d & b) | (~d & c), b ^ c ^ d, c ^ (b | ~d)};
        const std::uint32_t word[] = {i, 5 * i + 1, 3 * i + 5, 7 * i};
        const auto sine = static_cast<std::uint32_t>(std::floor(std::abs(std::sin(i + 1.0)) * 4294967296.0));
        const std::uint32_t sum = a + mixed[round] + sine + words[word[round] % 16];
        a = d;
        d = c;
        c = b;
        b += std::rotl(sum, kTurns[round][i % 4]);
    }
    state = {state[0] + a, state[1] + b, state[2] + c, state[3] + d};
}

}  // namespace

ContainerDigest CalcContainerDigest(const std::uint8_t* container, std::size_t size) {
    const std::uint8_t* const data = container + kDigestEnd;
    const std::size_t length = size - kDigestEnd;
    const std::size_t whole = length / kBlock * kBlock;
    State state = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
    for (std::size_t at = 0; at < whole; at += kBlock) AddBlock(state, data + at);

    const auto bits = static_cast<std::uint32_t>(length * 8);
    const std::uint32_t last = bits / 4 | 1;
    std::vector<std::uint8_t> tail(data + whole, data + length);
    tail.push_back(0x80);
    const auto* const bitBytes = reinterpret_cast<const std::uint8_t*>(&bits);
    // What is left comes behind the length, or, where it does not fit so, in a block before it.
    std::size_t lengthAt = 0;
    if (tail.size() > kBlock - 8) {
        tail.resize(kBlock);
        lengthAt = kBlock;
    }
    tail.insert(tail.begin() + static_cast<std::ptrdiff_t>(lengthAt), bitBytes, bitBytes + sizeof(bits));
    tail.resize(lengthAt + kBlock);
    std::memcpy(&tail[tail.size() - sizeof(last)], &last, sizeof(last));
    for (std::size_t at = 0; at < tail.size(); at += kBlock) AddBlock(state, &tail[at]);

    ContainerDigest digest;
    std::memcpy(digest.data(), state.data(), digest.size());
    return digest;
}

}  // namespace nimbrel::test
