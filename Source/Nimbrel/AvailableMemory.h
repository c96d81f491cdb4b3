#pragma once

#include <cstdint>

/// Bytes that the process can still be given without pushing the machine out of memory: free memory,
/// reclaimable caches and swap, within the limit of the process's control group. The largest value there
/// is where the system does not tell.
std::uint64_t GetAvailableMemory();

/// Throws std::bad_alloc if `bytes` are more than GetAvailableMemory(). Systems that promise memory before
/// they have it end the process at the first touch of a page too many, so large blocks whose size comes
/// from a file are asked for here first.
void RequireMemory(std::uint64_t bytes);
