#include "Render/CPU/Sort.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <tbb/enumerable_thread_specific.h>

#include "Render/CPU/Parallel.h"
#include "Render/CPU/ScratchArray.h"
#include "Render/CPU/ScratchPool.h"
#include "Render/CPU/VectorTargets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Render/CPU/Sort.cpp"
#include <hwy/foreach_target.h>
// Behind it, once for each target:
#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zeb::render::cpu {
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

/// Takes pairs apart: their low words plus `least`, and their high words. Both go to memory past the caches, which
/// saves reading what is there before.
void StorePairs(const std::uint64_t* pairs, std::size_t count, std::uint32_t least, std::uint32_t* keys,
                std::uint32_t* payloads) {
    const hn::CappedTag<std::uint32_t, 16> d;
    const std::size_t lanes = hn::Lanes(d);
    const auto* const words = reinterpret_cast<const std::uint32_t*>(pairs);
    const auto store = [&](std::uint32_t* to, std::size_t half, std::uint32_t added) HWY_ATTR {
        const std::size_t beside = reinterpret_cast<std::uintptr_t>(to) / sizeof(*to) % lanes;
        const std::size_t head = std::min(count, beside == 0 ? 0 : lanes - beside);
        std::size_t i = 0;
        for (; i < head; ++i) to[i] = words[2 * i + half] + added;
        for (; i + lanes <= count; i += lanes) {
            hn::Vec<decltype(d)> low, high;
            hn::LoadInterleaved2(d, words + 2 * i, low, high);
            hn::Stream(hn::Add(half == 0 ? low : high, hn::Set(d, added)), d, to + i);
        }
        for (; i < count; ++i) to[i] = words[2 * i + half] + added;
    };
    store(keys, 0, least);
    store(payloads, 1, 0);
}

}  // namespace HWY_NAMESPACE
}  // namespace zeb::render::cpu
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zeb::render::cpu {

HWY_EXPORT(FindRange);
HWY_EXPORT(StorePairs);

namespace {

/// Chunks of fewer keys cost more in tables than they gain.
constexpr std::size_t kLeastChunk = 16384;
/// A bucket has 2^11 keys on average, but there are no more buckets than a core can write to at a time.
constexpr int kBucketBits = 11;
constexpr int kMostBits = 10;
/// Of one pass within a bucket.
constexpr int kDigitBits = 9;
constexpr int kMostPasses = (32 + kDigitBits - 1) / kDigitBits;

using Pair = std::uint64_t;  ///< the payload above the key
using Counts = std::vector<std::uint32_t>;

std::uint32_t GetKey(Pair pair) { return static_cast<std::uint32_t>(pair); }

/// Where the pairs of each digit go: those from the front half of a bucket in order from mFront up, those from the back
/// half backwards from mBack down. Two runs that do not wait for each other's places.
struct Bins {
    std::uint32_t mFront[1 << kDigitBits];
    std::uint32_t mBack[1 << kDigitBits];
};

struct SortScratch {
    ScratchArray<Pair> mPairs;
    std::vector<Counts> mPlaces;                                   ///< by half of a chunk and bucket
    tbb::enumerable_thread_specific<ScratchArray<Pair>> mBuckets;  ///< the other place of a bucket in hand
};

void Distribute(const Pair* from, std::size_t count, int shift, std::size_t size, Bins& bins, Pair* to) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const std::uint32_t here = bins.mFront[i] + bins.mBack[i];
        bins.mFront[i] = sum;
        bins.mBack[i] = sum += here;
    }
    const auto digit = [&](Pair pair) { return GetKey(pair) >> shift & (size - 1); };
    for (std::size_t i = 0; i < count / 2; ++i) {
        const Pair front = from[i];
        const Pair back = from[count - 1 - i];
        to[bins.mFront[digit(front)]++] = front;
        to[--bins.mBack[digit(back)]] = back;
    }
    if (count % 2 != 0) to[bins.mFront[digit(from[count / 2])]] = from[count / 2];
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
            Pair* const other = mScratch.mBuckets.local().Reserve(mLargest);
            for (std::uint32_t bucket = first; bucket < last; ++bucket) {
                const std::uint32_t begin = bucket == 0 ? 0 : ends[bucket - 1];
                if (begin < ends[bucket]) SortBucket<kPasses>(begin, ends[bucket], other);
            }
            hwy::FlushStream();
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
        mScratch.mPlaces.resize(2 * mChunks);
        for (Counts& places : mScratch.mPlaces) places.assign(std::size_t{1} << bucketBits, 0);
    }

    /// Calls function(places, i) for all keys i of each half of a chunk, in turn: keys of neighbours are often alike,
    /// and two halves with places of their own do not wait for each other's.
    template <class Function>
    void ForEachKey(const Function& function) const {
        ForEachChunk([&](std::size_t chunk, std::size_t begin, std::size_t end) {
            std::uint32_t* const front = mScratch.mPlaces[2 * chunk].data();
            std::uint32_t* const back = mScratch.mPlaces[2 * chunk + 1].data();
            const std::size_t half = (end - begin) / 2;
            for (std::size_t i = begin; i < begin + half; ++i) {
                function(front, i);
                function(back, i + half);
            }
            if ((end - begin) % 2 != 0) function(back, end - 1);
        });
    }

    void FillBuckets() {
        std::vector<Counts>& places = mScratch.mPlaces;
        ForEachKey([&](std::uint32_t* counts, std::size_t i) { ++counts[GetBucket(mKeys[i])]; });
        // Buckets in order, within them halves of chunks in order.
        std::uint32_t sum = 0;
        for (std::size_t bucket = 0; bucket < places[0].size(); ++bucket) {
            const std::uint32_t begin = sum;
            for (Counts& half : places) sum += std::exchange(half[bucket], sum);
            mLargest = std::max(mLargest, sum - begin);
        }
        Pair* const pairs = mScratch.mPairs.Reserve(mKeys.size());
        // Afterwards the last half's places are the buckets' ends.
        ForEachKey([&](std::uint32_t* next, std::size_t i) {
            Pair* const place = pairs + next[GetBucket(mKeys[i])]++;
            // The line behind this one, which the bucket is about to need.
            hwy::Prefetch(place + 64 / sizeof(Pair));
            *place = Pair{mPayloads[i]} << 32 | (mKeys[i] - mLeast);
        });
    }

    template <int kPasses>
    void SortBucket(std::uint32_t begin, std::uint32_t end, Pair* other) const {
        const std::size_t count = end - begin;
        const int digitBits = std::max(1, (mShift + kPasses - 1) / kPasses);
        const std::size_t size = std::size_t{1} << digitBits;
        Bins bins[kPasses];
        for (Bins& pass : bins) {
            std::fill_n(pass.mFront, size, 0U);
            std::fill_n(pass.mBack, size, 0U);
        }
        Pair* from = mScratch.mPairs.Get() + begin;
        const auto countDigits = [&](Pair pair, auto counts) {
            for (int pass = 0; pass < kPasses; ++pass)
                ++(bins[pass].*counts)[GetKey(pair) >> (pass * digitBits) & (size - 1)];
        };
        // Neighbours are often alike: counted apart, one does not wait for the other.
        for (std::size_t i = 0; i + 1 < count; i += 2) {
            countDigits(from[i], &Bins::mFront);
            countDigits(from[i + 1], &Bins::mBack);
        }
        if (count % 2 != 0) countDigits(from[count - 1], &Bins::mFront);
        for (int pass = 0; pass < kPasses; ++pass) {
            Distribute(from, count, pass * digitBits, size, bins[pass], other);
            std::swap(from, other);
        }
        HWY_DYNAMIC_DISPATCH(StorePairs)(from, count, mLeast, mKeys.data() + begin, mPayloads.data() + begin);
    }

    std::span<std::uint32_t> mKeys;
    std::span<std::uint32_t> mPayloads;
    SortScratch& mScratch;
    std::size_t mChunks = 1;
    std::uint32_t mLeast = 0;
    std::uint32_t mLargest = 0;  ///< keys of a bucket
    int mShift = 0;              ///< bits of a key below those of its bucket
};

}  // namespace

void Sort(std::span<std::uint32_t> keys, std::span<std::uint32_t> payloads) {
    static ScratchPool<SortScratch> pool;
    const std::size_t count = std::min(keys.size(), payloads.size());
    if (count < 2) return;
    const auto scratch = pool.Take();
    Sorter(keys.first(count), payloads.first(count), *scratch).Run();
}

}  // namespace zeb::render::cpu
#endif
