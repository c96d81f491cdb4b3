// The kernels between Count and Scatter: sums of the sum table's rows by blocks of 512 (Reduce), a scan of these sums
// (Scan) and of the rows (ScanAdd). Afterwards an entry of the sum table is the first output place of its group's keys
// of its bin.
#include "ParallelSort.hlsli"

RWStructuredBuffer<uint> rw_sum_table : register(u6);
RWStructuredBuffer<uint> rw_reduce_table : register(u7);
RWStructuredBuffer<uint> rw_scan_source : register(u8);
RWStructuredBuffer<uint> rw_scan_dest : register(u9);
RWStructuredBuffer<uint> rw_scan_scratch : register(u10);

groupshared uint LDSSums[GROUP_SIZE];

#if defined(ZEB_WAVE_OPS)

// Sum of `value` over the threads before t. All threads of the group take part.
uint GroupPrefixSum(uint value, uint t) {
    uint lanes = WaveGetLaneCount();
    uint prefix = ZEB_WAVE_PREFIX_SUM(value);
    if (WaveGetLaneIndex() == lanes - 1u) LDSSums[t / lanes] = prefix + value;
    GroupMemoryBarrierWithGroupSync();
    for (uint wave = 0u; wave < t / lanes; ++wave) prefix += LDSSums[wave];
    return prefix;
}

// Sum of `value` over the group; every thread gets it.
uint GroupSum(uint value, uint t) {
    uint lanes = WaveGetLaneCount();
    uint waveSum = WaveActiveSum(value);
    if (WaveGetLaneIndex() == 0u) LDSSums[t / lanes] = waveSum;
    GroupMemoryBarrierWithGroupSync();
    uint sum = 0u;
    for (uint wave = 0u; wave < GROUP_SIZE / lanes; ++wave) sum += LDSSums[wave];
    return sum;
}

#else

#define SEGMENT_SIZE 8u
#define SEGMENT_COUNT 16u

groupshared uint SegmentSums[SEGMENT_COUNT];

// Leaves in LDSSums the sums over the earlier threads of each one's segment, in SegmentSums those of segments.
void ScanSegments(uint value, uint t) {
    LDSSums[t] = value;
    GroupMemoryBarrierWithGroupSync();
    if (t < SEGMENT_COUNT) {
        uint sum = 0u;
        for (uint k = 0u; k < SEGMENT_SIZE; ++k) {
            uint entry = LDSSums[t * SEGMENT_SIZE + k];
            LDSSums[t * SEGMENT_SIZE + k] = sum;
            sum += entry;
        }
        SegmentSums[t] = sum;
    }
    GroupMemoryBarrierWithGroupSync();
}

uint GroupPrefixSum(uint value, uint t) {
    ScanSegments(value, t);
    uint prefix = LDSSums[t];
    for (uint segment = 0u; segment < t / SEGMENT_SIZE; ++segment) prefix += SegmentSums[segment];
    return prefix;
}

uint GroupSum(uint value, uint t) {
    ScanSegments(value, t);
    uint sum = 0u;
    for (uint segment = 0u; segment < SEGMENT_COUNT; ++segment) sum += SegmentSums[segment];
    return sum;
}

#endif

// `numScanValues` groups of 128 threads: one for each block of 512 entries of each bin's row. Reads rw_sum_table,
// writes entry `group` of rw_reduce_table.
[numthreads(128, 1, 1)]
void FfxParallelSortReduce(uint3 groupId : SV_GroupID, uint3 threadId : SV_GroupThreadID) {
    uint t = threadId.x;
    uint bin = groupId.x / numReduceThreadgroupPerBin;
    uint block = groupId.x % numReduceThreadgroupPerBin;
    uint sum = 0u;
    for (uint i = 0u; i < KEYS_PER_THREAD; ++i) {
        // Columns beyond the last repeat it and count for nothing: all threads go one way to the waves' operations.
        uint column = block * BLOCK_SIZE + t + i * GROUP_SIZE;
        uint entry = rw_sum_table[ZEB_ELEMENT(6, bin * numThreadGroups + min(column, numThreadGroups - 1u))];
        sum += column < numThreadGroups ? entry : 0u;
    }
    sum = GroupSum(sum, t);
    if (t == 0u) rw_reduce_table[ZEB_ELEMENT(7, groupId.x)] = sum;
}

// Exclusive scan, in place, of the entries base + [first, first + 512) that lie below base + limit; `offset` is added
// to each. A thread holds four consecutive entries.
void ScanBlock(uint base, uint first, uint limit, uint offset, uint t) {
    uint entry = first + t * KEYS_PER_THREAD;
    uint values[KEYS_PER_THREAD];
    uint total = 0u;
    for (uint i = 0u; i < KEYS_PER_THREAD; ++i) {
        uint value = rw_scan_source[ZEB_ELEMENT(8, base + min(entry + i, limit - 1u))];
        values[i] = entry + i < limit ? value : 0u;
        total += values[i];
    }
    uint sum = GroupPrefixSum(total, t) + offset;
    for (uint k = 0u; k < KEYS_PER_THREAD; ++k) {
        if (entry + k < limit) rw_scan_dest[ZEB_ELEMENT(9, base + entry + k)] = sum;
        sum += values[k];
    }
}

// One group of 128 threads over the reduced table, at most 512 entries; in place.
[numthreads(128, 1, 1)]
void FfxParallelSortScan(uint3 threadId : SV_GroupThreadID) { ScanBlock(0u, 0u, numScanValues, 0u, threadId.x); }

// Groups as in Reduce, in place on the sum table; reads the scanned reduced table.
[numthreads(128, 1, 1)]
void FfxParallelSortScanAdd(uint3 groupId : SV_GroupID, uint3 threadId : SV_GroupThreadID) {
    uint bin = groupId.x / numReduceThreadgroupPerBin;
    uint block = groupId.x % numReduceThreadgroupPerBin;
    uint offset = rw_scan_scratch[ZEB_ELEMENT(10, groupId.x)];
    ScanBlock(bin * numThreadGroups, block * BLOCK_SIZE, numThreadGroups, offset, threadId.x);
}
