// Last kernel of a pass of the sort: moves keys and payloads to their places. A key's place is the first place of its
// group and digit, from the sum table, plus the number of earlier keys of the group with that digit.
#include "ParallelSort.hlsli"

cbuffer cbShift : register(b1) {
    uint shift;
};

RWStructuredBuffer<uint> rw_source_keys : register(u2);
RWStructuredBuffer<uint> rw_dest_keys : register(u3);
RWStructuredBuffer<uint> rw_source_payloads : register(u4);
RWStructuredBuffer<uint> rw_dest_payloads : register(u5);
RWStructuredBuffer<uint> rw_sum_table : register(u6);

uint DigitOf(uint key) { return (key >> (shift & 31u)) & 15u; }

uint FirstPlace(uint bin, uint group) { return rw_sum_table[ZEB_ELEMENT(6, bin * numThreadGroups + group)]; }

// The bound holds for every sum table that Count and the scans made of the same keys.
void StoreKey(uint key, uint payload, uint place) {
    if (place >= numKeys) return;
    rw_dest_keys[ZEB_ELEMENT(3, place)] = key;
    rw_dest_payloads[ZEB_ELEMENT(5, place)] = payload;
}

#if defined(ZEB_SORT_SERIAL)

// Eight threads, one run of a chunk each; a chunk's keys fit the 16-bit counters.
#define RUN_COUNT 8u
#define CHUNK_SIZE 65528u

groupshared uint RunCounts[RUN_COUNT * COUNTER_WORDS];
groupshared uint ChunkStart[BIN_COUNT];

void StoreRunCounts(DigitCounts counts, uint run) {
    RunCounts[run * COUNTER_WORDS + 0u] = counts.low.x;
    RunCounts[run * COUNTER_WORDS + 1u] = counts.low.y;
    RunCounts[run * COUNTER_WORDS + 2u] = counts.low.z;
    RunCounts[run * COUNTER_WORDS + 3u] = counts.low.w;
    RunCounts[run * COUNTER_WORDS + 4u] = counts.high.x;
    RunCounts[run * COUNTER_WORDS + 5u] = counts.high.y;
    RunCounts[run * COUNTER_WORDS + 6u] = counts.high.z;
    RunCounts[run * COUNTER_WORDS + 7u] = counts.high.w;
}

// Counts of the runs before `run`, all of them for RUN_COUNT.
DigitCounts CountsBefore(uint run) {
    DigitCounts sum = NoCounts();
    for (uint earlier = 0u; earlier < run; ++earlier) {
        uint at = earlier * COUNTER_WORDS;
        sum.low += uint4(RunCounts[at], RunCounts[at + 1u], RunCounts[at + 2u], RunCounts[at + 3u]);
        sum.high += uint4(RunCounts[at + 4u], RunCounts[at + 5u], RunCounts[at + 6u], RunCounts[at + 7u]);
    }
    return sum;
}

#define START_PLACES(bin, word)                                  \
    places[bin] = ChunkStart[bin] + (word & 0xFFFFu);            \
    places[bin + 1u] = ChunkStart[bin + 1u] + (word >> 16);

void ScatterRun(uint first, uint end, uint run) {
    DigitCounts before = CountsBefore(run);
    uint places[BIN_COUNT];
    START_PLACES(0u, before.low.x)
    START_PLACES(2u, before.low.y)
    START_PLACES(4u, before.low.z)
    START_PLACES(6u, before.low.w)
    START_PLACES(8u, before.high.x)
    START_PLACES(10u, before.high.y)
    START_PLACES(12u, before.high.z)
    START_PLACES(14u, before.high.w)
    for (uint i = first; i < end; ++i) {
        uint key = rw_source_keys[ZEB_ELEMENT(2, i)];
        uint digit = DigitOf(key);
        uint place = places[digit];
        places[digit] = place + 1u;
        StoreKey(key, rw_source_payloads[ZEB_ELEMENT(4, i)], place);
    }
}

// One group for each column of the sum table, 128 threads, of which few work. Reads the group's keys and payloads and
// its column; writes both outputs. Stable: runs and chunks ascend with the keys.
[numthreads(128, 1, 1)]
void FfxParallelSortScatter(uint3 groupId : SV_GroupID, uint3 threadId : SV_GroupThreadID) {
    uint t = threadId.x;
    KeyRange range = KeysOfGroup(groupId.x);
    if (t < BIN_COUNT) ChunkStart[t] = FirstPlace(t, groupId.x);
    for (uint chunk = range.first; chunk < range.end; chunk += CHUNK_SIZE) {
        uint chunkEnd = min(chunk + CHUNK_SIZE, range.end);
        uint runLength = (chunkEnd - chunk + RUN_COUNT - 1u) / RUN_COUNT;
        uint first = min(chunk + t * runLength, chunkEnd);
        uint end = min(first + runLength, chunkEnd);
        if (t < RUN_COUNT) {
            DigitCounts counts = NoCounts();
            for (uint i = first; i < end; ++i) counts = AddDigit(counts, DigitOf(rw_source_keys[ZEB_ELEMENT(2, i)]));
            StoreRunCounts(counts, t);
        }
        GroupMemoryBarrierWithGroupSync();
        if (t < RUN_COUNT) ScatterRun(first, end, t);
        if (chunkEnd == range.end) return;
        GroupMemoryBarrierWithGroupSync();
        if (t < BIN_COUNT) {
            for (uint run = 0u; run < RUN_COUNT; ++run)
                ChunkStart[t] += CounterOf(RunCounts[run * COUNTER_WORDS + (t >> 1)], t);
        }
        GroupMemoryBarrierWithGroupSync();
    }
}

#else

groupshared uint Counts[COUNTER_WORDS * GROUP_SIZE];  // word * GROUP_SIZE + thread
groupshared uint PartSums[COUNTER_WORDS * 16u];       // word * part count + part
groupshared uint TotalWords[COUNTER_WORDS];           // counters of the whole block
groupshared uint BlockStart[BIN_COUNT];               // first place of each digit within the ordered block
groupshared uint BinOffsetCache[BIN_COUNT];           // the same within the output
groupshared uint OrderedKeys[BLOCK_SIZE];
groupshared uint OrderedPayloads[BLOCK_SIZE];

void StoreCounts(DigitCounts counts, uint t) {
    Counts[0u * GROUP_SIZE + t] = counts.low.x;
    Counts[1u * GROUP_SIZE + t] = counts.low.y;
    Counts[2u * GROUP_SIZE + t] = counts.low.z;
    Counts[3u * GROUP_SIZE + t] = counts.low.w;
    Counts[4u * GROUP_SIZE + t] = counts.high.x;
    Counts[5u * GROUP_SIZE + t] = counts.high.y;
    Counts[6u * GROUP_SIZE + t] = counts.high.z;
    Counts[7u * GROUP_SIZE + t] = counts.high.w;
}

#if defined(ZEB_WAVE_OPS)

// In one place: a second mention becomes a second input of the same kind, which SPIR-V does not allow.
uint LaneCount() { return WaveGetLaneCount(); }
uint PartCount() { return GROUP_SIZE / LaneCount(); }
uint PartOf(uint t) { return t / LaneCount(); }

uint4 WavePrefix(uint4 value) {
    return uint4(ZEB_WAVE_PREFIX_SUM(value.x), ZEB_WAVE_PREFIX_SUM(value.y), ZEB_WAVE_PREFIX_SUM(value.z),
                 ZEB_WAVE_PREFIX_SUM(value.w));
}

// Replaces each thread's counters by their sums over the earlier threads of its part, which is its wave. Word w
// of part p's totals goes to PartSums[w * PartCount() + p].
void ScanParts(DigitCounts counts, uint t) {
    DigitCounts prefix;
    prefix.low = WavePrefix(counts.low);
    prefix.high = WavePrefix(counts.high);
    StoreCounts(prefix, t);
    if (WaveGetLaneIndex() == LaneCount() - 1u) {
        uint4 low = prefix.low + counts.low;
        uint4 high = prefix.high + counts.high;
        uint parts = PartCount();
        uint part = PartOf(t);
        PartSums[0u * parts + part] = low.x;
        PartSums[1u * parts + part] = low.y;
        PartSums[2u * parts + part] = low.z;
        PartSums[3u * parts + part] = low.w;
        PartSums[4u * parts + part] = high.x;
        PartSums[5u * parts + part] = high.y;
        PartSums[6u * parts + part] = high.z;
        PartSums[7u * parts + part] = high.w;
    }
    GroupMemoryBarrierWithGroupSync();
}

#else

#define PART_SIZE 8u

uint PartCount() { return GROUP_SIZE / PART_SIZE; }
uint PartOf(uint t) { return t / PART_SIZE; }

// As above with parts of eight threads: 128 threads are 8 words times 16 parts, and each scans one word of one part.
void ScanParts(DigitCounts counts, uint t) {
    StoreCounts(counts, t);
    GroupMemoryBarrierWithGroupSync();
    uint entry = (t >> 4) * GROUP_SIZE + (t & 15u) * PART_SIZE;
    uint sum = 0u;
    for (uint k = 0u; k < PART_SIZE; ++k) {
        uint value = Counts[entry + k];
        Counts[entry + k] = sum;
        sum += value;
    }
    PartSums[t] = sum;
    GroupMemoryBarrierWithGroupSync();
}

#endif

// After ScanParts: turns PartSums into sums over the earlier parts, and fills TotalWords and BlockStart.
void ScanBlockCounts(uint t) {
    if (t < COUNTER_WORDS) {
        uint parts = PartCount();
        uint sum = 0u;
        for (uint part = 0u; part < parts; ++part) {
            uint value = PartSums[t * parts + part];
            PartSums[t * parts + part] = sum;
            sum += value;
        }
        TotalWords[t] = sum;
    }
    GroupMemoryBarrierWithGroupSync();
    if (t < BIN_COUNT) {
        uint start = 0u;
        for (uint bin = 0u; bin < t; ++bin) start += CounterOf(TotalWords[bin >> 1], bin);
        BlockStart[t] = start;
    }
    GroupMemoryBarrierWithGroupSync();
}

// Keys of the block before this thread's with the digit.
uint EarlierInBlock(uint digit, uint t) {
    uint word = digit >> 1;
    return CounterOf(Counts[word * GROUP_SIZE + t] + PartSums[word * PartCount() + PartOf(t)], digit);
}

// Puts the block's keys and payloads in the order of their digits into group-shared memory. A thread holds four
// consecutive keys, read once. Reads beyond the end repeat the last key and count for nothing: no thread takes another
// way than its neighbours before the waves' operations.
void OrderBlock(uint block, uint end, uint t) {
    uint keys[KEYS_PER_THREAD];
    uint payloads[KEYS_PER_THREAD];
    uint first = block + t * KEYS_PER_THREAD;
    DigitCounts counts = NoCounts();
    [unroll] for (uint i = 0u; i < KEYS_PER_THREAD; ++i) {
        uint at = min(first + i, end - 1u);
        keys[i] = rw_source_keys[ZEB_ELEMENT(2, at)];
        payloads[i] = rw_source_payloads[ZEB_ELEMENT(4, at)];
        counts = AddDigits(counts, DigitOf(keys[i]), first + i < end ? 1u : 0u);
    }
    ScanParts(counts, t);
    ScanBlockCounts(t);
    [unroll] for (uint k = 0u; k < KEYS_PER_THREAD; ++k) {
        uint digit = DigitOf(keys[k]);
        uint place = BlockStart[digit] + EarlierInBlock(digit, t);
        [unroll] for (uint earlier = 0u; earlier < k; ++earlier) place += DigitOf(keys[earlier]) == digit ? 1u : 0u;
        if (first + k < end) {
            OrderedKeys[place] = keys[k];
            OrderedPayloads[place] = payloads[k];
        }
    }
    GroupMemoryBarrierWithGroupSync();
}

// One group for each column of the sum table, 128 threads. Reads the group's keys and payloads and its column; writes
// both outputs, neighbouring threads to neighbouring places. Stable: a block of 512 is ordered stably, and blocks
// ascend.
[numthreads(128, 1, 1)]
void FfxParallelSortScatter(uint3 groupId : SV_GroupID, uint3 threadId : SV_GroupThreadID) {
    uint t = threadId.x;
    KeyRange range = KeysOfGroup(groupId.x);
    if (t < BIN_COUNT) BinOffsetCache[t] = FirstPlace(t, groupId.x);
    GroupMemoryBarrierWithGroupSync();
    for (uint block = range.first; block < range.end; block += BLOCK_SIZE) {
        uint end = min(block + BLOCK_SIZE, range.end);
        OrderBlock(block, end, t);
        for (uint q = t; q < end - block; q += GROUP_SIZE) {
            uint key = OrderedKeys[q];
            uint digit = DigitOf(key);
            StoreKey(key, OrderedPayloads[q], BinOffsetCache[digit] + q - BlockStart[digit]);
        }
        GroupMemoryBarrierWithGroupSync();
        if (t < BIN_COUNT) BinOffsetCache[t] += CounterOf(TotalWords[t >> 1], t);
        GroupMemoryBarrierWithGroupSync();
    }
}

#endif
