#include "Nimbrel/CPU/FastSort.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

namespace nimbrel::cpu {
namespace {

constexpr std::uint32_t kBins = 256;
constexpr std::uint32_t kPasses = 4;
/// Chunks of fewer keys cost more in tables than they gain.
constexpr std::size_t kLeastChunk = 16384;

using Histogram = std::array<std::uint32_t, kBins>;

struct KeysAndPayloads {
    std::uint32_t* mKeys;
    std::uint32_t* mPayloads;
};

/// Keys of one chunk of `count` cut into `chunks`.
struct Chunk {
    Chunk(std::size_t count, std::size_t chunks, std::size_t chunk)
        : mBegin(count * chunk / chunks), mEnd(count * (chunk + 1) / chunks) {}
    std::size_t mBegin;
    std::size_t mEnd;
};

std::uint32_t Digit(std::uint32_t key, std::uint32_t pass) { return (key >> (8 * pass)) & (kBins - 1); }

/// Passes whose digit is not the same in all keys; the others would change nothing.
std::array<bool, kPasses> FindNeededPasses(const std::uint32_t* keys, std::size_t count, std::size_t chunks) {
    std::vector<std::uint32_t> differing(chunks);
    tbb::parallel_for(std::size_t{0}, chunks, [&](std::size_t chunk) {
        const Chunk range(count, chunks, chunk);
        std::uint32_t bits = 0;
        for (std::size_t i = range.mBegin; i < range.mEnd; ++i) bits |= keys[i] ^ keys[0];
        differing[chunk] = bits;
    });
    std::uint32_t all = 0;
    for (const std::uint32_t bits : differing) all |= bits;
    std::array<bool, kPasses> needed{};
    for (std::uint32_t pass = 0; pass < kPasses; ++pass) needed[pass] = Digit(all, pass) != 0;
    return needed;
}

void SortPass(const KeysAndPayloads& from, const KeysAndPayloads& to, std::size_t count, std::uint32_t pass,
              std::vector<Histogram>& places) {
    const std::size_t chunks = places.size();
    tbb::parallel_for(std::size_t{0}, chunks, [&](std::size_t chunk) {
        const Chunk range(count, chunks, chunk);
        Histogram histogram{};
        for (std::size_t i = range.mBegin; i < range.mEnd; ++i) ++histogram[Digit(from.mKeys[i], pass)];
        places[chunk] = histogram;
    });
    // First output place of each chunk's keys of a digit: digits in order, within them chunks in order.
    std::uint32_t sum = 0;
    for (std::uint32_t bin = 0; bin < kBins; ++bin) {
        for (Histogram& histogram : places) sum += std::exchange(histogram[bin], sum);
    }
    tbb::parallel_for(std::size_t{0}, chunks, [&](std::size_t chunk) {
        const Chunk range(count, chunks, chunk);
        Histogram next = places[chunk];
        for (std::size_t i = range.mBegin; i < range.mEnd; ++i) {
            const std::uint32_t place = next[Digit(from.mKeys[i], pass)]++;
            to.mKeys[place] = from.mKeys[i];
            to.mPayloads[place] = from.mPayloads[i];
        }
    });
}

}  // namespace

void FastSort(std::span<std::uint32_t> keys, std::span<std::uint32_t> payloads, std::vector<std::uint32_t>& scratch) {
    const std::size_t count = std::min(keys.size(), payloads.size());
    if (count < 2) return;
    if (scratch.size() < 2 * count) scratch.resize(2 * count);
    const auto threads = static_cast<std::size_t>(std::max(1, tbb::this_task_arena::max_concurrency()));
    const std::size_t chunks = std::clamp<std::size_t>(count / kLeastChunk, 1, threads);
    std::vector<Histogram> places(chunks);
    const std::array<bool, kPasses> needed = FindNeededPasses(keys.data(), count, chunks);

    KeysAndPayloads from{keys.data(), payloads.data()};
    KeysAndPayloads to{scratch.data(), scratch.data() + count};
    for (std::uint32_t pass = 0; pass < kPasses; ++pass) {
        if (!needed[pass]) continue;
        SortPass(from, to, count, pass, places);
        std::swap(from, to);
    }
    if (from.mKeys == keys.data()) return;
    std::copy_n(from.mKeys, count, keys.data());
    std::copy_n(from.mPayloads, count, payloads.data());
}

}  // namespace nimbrel::cpu
