#include "Nimbrel/CPU/FastSort.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <utility>
#include <vector>

#include <tbb/enumerable_thread_specific.h>

#include "Render/CPU/Parallel.h"
#include "Render/CPU/ScratchPool.h"
#include "Render/CPU/VectorTargets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Nimbrel/CPU/FastSort.cpp"
#include <hwy/foreach_target.h>
// Behind it, once for each target:
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Widens [least, most] to `count` keys.
void FindRange(const std::uint32_t* keys, std::size_t count, std::uint32_t& least, std::uint32_t& most) {
    const hn::CappedTag<std::uint32_t, 16> d;
    const std::size_t lanes = hn::Lanes(d);
    auto low = hn::Set(d, least);
    auto high = hn::Set(d, most);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto some = hn::LoadU(d, keys + i);
        low = hn::Min(low, some);
        high = hn::Max(high, some);
    }
    HWY_ALIGN std::uint32_t ends[2][hn::MaxLanes(d)];
    hn::Store(low, d, ends[0]);
    hn::Store(high, d, ends[1]);
    least = *std::min_element(ends[0], ends[0] + lanes);
    most = *std::max_element(ends[1], ends[1] + lanes);
    for (; i < count; ++i) {
        least = std::min(least, keys[i]);
        most = std::max(most, keys[i]);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace nimbrel::cpu {

HWY_EXPORT(FindRange);

using namespace zeb::render::cpu;

namespace {

/// Chunks of fewer keys cost more in tables than they gain.
constexpr std::size_t kLeastChunk = 16384;
/// A bucket has 2^11 keys on average, but there are no more buckets than the second level of a cache has lines for.
constexpr int kBucketBits = 11;
constexpr int kMostBits = 11;
/// Of one pass within a bucket.
constexpr int kDigitBits = 9;
constexpr int kMostPasses = (32 + kDigitBits - 1) / kDigitBits;

using Pair = std::uint64_t;  ///< the payload above the key
using Counts = std::vector<std::uint32_t>;

std::uint32_t GetKey(Pair pair) { return static_cast<std::uint32_t>(pair); }

struct SortScratch {
    std::vector<Pair> mPairs;
    std::vector<Counts> mPlaces;                                  ///< by chunk and bucket
    tbb::enumerable_thread_specific<std::vector<Pair>> mBuckets;  ///< the other place of a bucket in hand
};

/// Turns counts into first places; returns their sum.
std::uint32_t ToPlaces(std::uint32_t* counts, std::size_t size, std::uint32_t sum = 0) {
    for (std::size_t i = 0; i < size; ++i) sum += std::exchange(counts[i], sum);
    return sum;
}

class Sorter {
public:
    Sorter(std::span<std::uint32_t> keys, std::span<std::uint32_t> payloads, SortScratch& scratch)
        : mKeys(keys), mPayloads(payloads), mScratch(scratch) {
        const std::size_t threads = GetConcurrency();
        mChunks = std::clamp<std::size_t>(keys.size() / kLeastChunk, 1, threads);
    }

    void Run() {
        FindShift();
        FillBuckets();
        switch ((mShift + kDigitBits - 1) / kDigitBits) {
            case 2: SortBuckets<2>(); break;
            case 3: SortBuckets<3>(); break;
            case kMostPasses: SortBuckets<kMostPasses>(); break;
            default: SortBuckets<1>(); break;
        }
    }

private:
    template <int kPasses>
    void SortBuckets() const {
        const Counts& ends = mScratch.mPlaces.back();
        const auto buckets = static_cast<std::uint32_t>(ends.size());
        ParallelFor(buckets, 1, [&](std::uint32_t first, std::uint32_t last) {
            std::vector<Pair>& other = mScratch.mBuckets.local();
            for (std::uint32_t bucket = first; bucket < last; ++bucket) {
                const std::uint32_t begin = bucket == 0 ? 0 : ends[bucket - 1];
                if (begin < ends[bucket]) SortBucket<kPasses>(begin, ends[bucket], other);
            }
        });
    }

    template <class Function>
    void ForEachChunk(const Function& function) const {
        ParallelForEach(mChunks, [&](std::size_t chunk) {
            const std::size_t count = mKeys.size();
            function(chunk, count * chunk / mChunks, count * (chunk + 1) / mChunks);
        });
    }

    std::size_t GetBucket(std::uint32_t key) const { return std::uint64_t{key - mLeast} >> mShift; }

    void FindShift() {
        std::vector<std::pair<std::uint32_t, std::uint32_t>> ranges(mChunks, {mKeys[0], mKeys[0]});
        ForEachChunk([&](std::size_t chunk, std::size_t begin, std::size_t end) {
            auto& [least, most] = ranges[chunk];
            HWY_DYNAMIC_DISPATCH(FindRange)(mKeys.data() + begin, end - begin, least, most);
        });
        std::uint32_t most = mKeys[0];
        mLeast = mKeys[0];
        for (const auto& range : ranges) {
            mLeast = std::min(mLeast, range.first);
            most = std::max(most, range.second);
        }
        const int bits = static_cast<int>(std::bit_width(most - mLeast));
        const int wanted = static_cast<int>(std::bit_width(mKeys.size())) - kBucketBits;
        const int bucketBits = std::min(std::clamp(wanted, 0, kMostBits), bits);
        mShift = bits - bucketBits;
        mScratch.mPlaces.resize(mChunks);
        for (Counts& places : mScratch.mPlaces) places.assign(std::size_t{1} << bucketBits, 0);
    }

    void FillBuckets() {
        std::vector<Counts>& places = mScratch.mPlaces;
        ForEachChunk([&](std::size_t chunk, std::size_t begin, std::size_t end) {
            std::uint32_t* const counts = places[chunk].data();
            for (std::size_t i = begin; i < end; ++i) ++counts[GetBucket(mKeys[i])];
        });
        // Buckets in order, within them chunks in order.
        std::uint32_t sum = 0;
        for (std::size_t bucket = 0; bucket < places[0].size(); ++bucket) {
            for (Counts& chunk : places) sum = ToPlaces(&chunk[bucket], 1, sum);
        }
        if (mScratch.mPairs.size() < mKeys.size()) mScratch.mPairs.resize(mKeys.size());
        Pair* const pairs = mScratch.mPairs.data();
        // Afterwards the last chunk's places are the buckets' ends.
        ForEachChunk([&](std::size_t chunk, std::size_t begin, std::size_t end) {
            std::uint32_t* const next = places[chunk].data();
            for (std::size_t i = begin; i < end; ++i)
                pairs[next[GetBucket(mKeys[i])]++] = Pair{mPayloads[i]} << 32 | (mKeys[i] - mLeast);
        });
    }

    template <int kPasses>
    void SortBucket(std::uint32_t begin, std::uint32_t end, std::vector<Pair>& other) const {
        const std::size_t count = end - begin;
        const int digitBits = std::max(1, (mShift + kPasses - 1) / kPasses);
        const std::size_t bins = std::size_t{1} << digitBits;
        const auto digit = [&](Pair pair, int pass) { return GetKey(pair) >> (pass * digitBits) & (bins - 1); };
        std::array<std::uint32_t, std::size_t{kPasses} << kDigitBits> places;
        std::fill_n(places.begin(), bins * kPasses, 0U);
        Pair* from = mScratch.mPairs.data() + begin;
        for (std::size_t i = 0; i < count; ++i) {
            for (int pass = 0; pass < kPasses; ++pass) ++places[bins * pass + digit(from[i], pass)];
        }
        if (kPasses > 1 && other.size() < count) other.resize(count);
        Pair* to = other.data();
        for (int pass = 0; pass + 1 < kPasses; ++pass) {
            std::uint32_t* const next = places.data() + bins * pass;
            ToPlaces(next, bins);
            for (std::size_t i = 0; i < count; ++i) to[next[digit(from[i], pass)]++] = from[i];
            std::swap(from, to);
        }
        std::uint32_t* const next = places.data() + bins * (kPasses - 1);
        ToPlaces(next, bins, begin);
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint32_t place = next[digit(from[i], kPasses - 1)]++;
            mKeys[place] = GetKey(from[i]) + mLeast;
            mPayloads[place] = static_cast<std::uint32_t>(from[i] >> 32);
        }
    }

    std::span<std::uint32_t> mKeys;
    std::span<std::uint32_t> mPayloads;
    SortScratch& mScratch;
    std::size_t mChunks = 1;
    std::uint32_t mLeast = 0;
    int mShift = 0;  ///< bits of a key below those of its bucket
};

}  // namespace

void FastSort(std::span<std::uint32_t> keys, std::span<std::uint32_t> payloads) {
    static ScratchPool<SortScratch> pool;
    const std::size_t count = std::min(keys.size(), payloads.size());
    if (count < 2) return;
    const auto scratch = pool.Take();
    Sorter(keys.first(count), payloads.first(count), *scratch).Run();
}

}  // namespace nimbrel::cpu
#endif
