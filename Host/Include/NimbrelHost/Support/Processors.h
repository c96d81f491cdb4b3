#pragma once

#include <optional>

namespace nimbrel::host {

/// Processors that this process may use: its affinity mask, cut to the quota of its container. At least 1.
int CountProcessors();

/// Processors to use: those asked for, else what CUE_THREADS, SLURM_CPUS_PER_TASK or OMP_NUM_THREADS say, the first
/// that is there, at most what the process may use.
int ChooseProcessors(std::optional<int> asked);

/// The quota of a container in processors, from the texts "cpu.max" ("150000 100000", "max 100000") holds; nothing for
/// none.
std::optional<double> ParseProcessorQuota(const char* text);

}  // namespace nimbrel::host
