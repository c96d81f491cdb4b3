// What the five kernels of the radix sort share. The sort follows FidelityFX Parallel Sort (AMD, published
// algorithm): least significant digit first, 4 bits a pass, stable. A pass counts digits for each group of threads
// (Count), sums and scans these counts (Reduce, Scan, ScanAdd) and moves the keys (Scatter).
//
// Each kernel exists in up to three forms with the same bindings and the same results:
//   plain            sums across a group through group-shared memory
//   ZEB_WAVE_OPS     with wave operations; waves of 16 lanes or more that divide 128, lanes in thread order
//   ZEB_SORT_SERIAL  few threads of a group work, each on a long run of keys, and barriers are few: for devices
//                    that run a group on one processor core, where a barrier means switching between its waves
//
// rw_sum_table holds 16 rows of numThreadGroups counters: bin * numThreadGroups + group. rw_reduce_table holds one
// sum for each 512 counters of a row.
#ifndef PARALLEL_SORT_HLSLI
#define PARALLEL_SORT_HLSLI

#include "ZebBinding.hlsli"

#define GROUP_SIZE 128u
#define KEYS_PER_THREAD 4u
#define BLOCK_SIZE 512u
#define BIN_COUNT 16u
// Digits are counted in words of two 16-bit counters: bin b in word b / 2, an odd bin in the high half.
#define COUNTER_WORDS 8u

cbuffer cbParallelSort : register(b0) {
    uint numKeys;
    int numBlocksPerThreadGroup;
    uint numThreadGroups;
    uint numThreadGroupsWithAdditionalBlocks;
    uint numReduceThreadgroupPerBin;
    uint numScanValues;
    uint padding;
};

// The keys [first, end) that a group counts and scatters. The last groups take one block more than the others.
struct KeyRange {
    uint first;
    uint end;
};

KeyRange KeysOfGroup(uint group) {
    uint blocks = uint(numBlocksPerThreadGroup);
    uint firstLonger = numThreadGroups - numThreadGroupsWithAdditionalBlocks;
    KeyRange range;
    range.first = group * blocks * BLOCK_SIZE;
    if (group >= firstLonger) {
        range.first += (group - firstLonger) * BLOCK_SIZE;
        blocks += 1u;
    }
    range.end = min(range.first + blocks * BLOCK_SIZE, numKeys);
    return range;
}

// Counters of 16 bins in registers.
struct DigitCounts {
    uint4 low;   // bins 0 to 7
    uint4 high;  // bins 8 to 15
};

DigitCounts NoCounts() {
    DigitCounts counts;
    counts.low = uint4(0, 0, 0, 0);
    counts.high = uint4(0, 0, 0, 0);
    return counts;
}

uint CountIn(uint digit, uint word, uint count) {
    return (digit >> 1) == word ? count << ((digit & 1u) * 16u) : 0u;
}

DigitCounts AddDigits(DigitCounts counts, uint digit, uint count) {
    counts.low += uint4(CountIn(digit, 0u, count), CountIn(digit, 1u, count), CountIn(digit, 2u, count),
                        CountIn(digit, 3u, count));
    counts.high += uint4(CountIn(digit, 4u, count), CountIn(digit, 5u, count), CountIn(digit, 6u, count),
                         CountIn(digit, 7u, count));
    return counts;
}

DigitCounts AddDigit(DigitCounts counts, uint digit) { return AddDigits(counts, digit, 1u); }

// Counter of a bin out of its word.
uint CounterOf(uint word, uint bin) { return (word >> ((bin & 1u) * 16u)) & 0xFFFFu; }

#endif
