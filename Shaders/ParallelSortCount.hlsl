// First kernel of a pass of the sort: how often each digit occurs in each group's keys.
#include "ParallelSort.hlsli"

// Threads that count; each takes an equal part of the keys.
#if defined(ZEB_SORT_SERIAL)
#define COUNTING_THREADS 8u
#else
#define COUNTING_THREADS 128u
#endif

cbuffer cbShift : register(b1) {
    uint shift;
};

RWStructuredBuffer<uint> rw_source_keys : register(u2);
RWStructuredBuffer<uint> rw_sum_table : register(u6);

groupshared uint Counts[COUNTER_WORDS * COUNTING_THREADS];

void StoreCounts(DigitCounts counts, uint thread) {
    Counts[0u * COUNTING_THREADS + thread] = counts.low.x;
    Counts[1u * COUNTING_THREADS + thread] = counts.low.y;
    Counts[2u * COUNTING_THREADS + thread] = counts.low.z;
    Counts[3u * COUNTING_THREADS + thread] = counts.low.w;
    Counts[4u * COUNTING_THREADS + thread] = counts.high.x;
    Counts[5u * COUNTING_THREADS + thread] = counts.high.y;
    Counts[6u * COUNTING_THREADS + thread] = counts.high.z;
    Counts[7u * COUNTING_THREADS + thread] = counts.high.w;
}

// One group for each column of the sum table, 128 threads. Reads the group's keys, writes its column. A thread's
// counters cannot overflow: 2^32 keys in 800 groups are 42,000 keys for each of 128 threads, and the serial form runs
// on buffers far below 800 * 8 * 65,535 keys.
[numthreads(128, 1, 1)]
void FfxParallelSortCount(uint3 groupId : SV_GroupID, uint3 threadId : SV_GroupThreadID) {
    uint t = threadId.x;
    KeyRange range = KeysOfGroup(groupId.x);
    if (t < COUNTING_THREADS) {
        DigitCounts counts = NoCounts();
        for (uint i = range.first + t; i < range.end; i += COUNTING_THREADS) {
            counts = AddDigit(counts, (rw_source_keys[ZEB_ELEMENT(2, i)] >> (shift & 31u)) & 15u);
        }
        StoreCounts(counts, t);
    }
    GroupMemoryBarrierWithGroupSync();
    if (t < BIN_COUNT) {
        uint sum = 0u;
        for (uint k = 0u; k < COUNTING_THREADS; ++k) sum += CounterOf(Counts[(t >> 1) * COUNTING_THREADS + k], t);
        rw_sum_table[ZEB_ELEMENT(6, t * numThreadGroups + groupId.x)] = sum;
    }
}
