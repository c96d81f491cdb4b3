#include "NimbrelHost/Support/Processors.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace nimbrel::host {
namespace {

std::string ReadText(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// The smallest quota of this process's control groups, from its own up to the root.
std::optional<double> FindQuota() {
    std::optional<double> smallest;
    const auto take = [&](std::optional<double> quota) {
        if (quota && (!smallest || *quota < *smallest)) smallest = quota;
    };
    const std::filesystem::path root = "/sys/fs/cgroup";
    std::ifstream groups("/proc/self/cgroup");
    for (std::string line; std::getline(groups, line);) {
        // "0::/path" of the one tree, "4:cpu,cpuacct:/path" of the older ones.
        const std::size_t first = line.find(':'), second = line.find(':', first + 1);
        if (second == std::string::npos) continue;
        const std::string controllers = line.substr(first + 1, second - first - 1);
        const bool isOne = controllers.empty();
        if (!isOne && ("," + controllers + ",").find(",cpu,") == std::string::npos) continue;
        const std::filesystem::path top = isOne ? root : root / "cpu";
        // Within a container its own group is the root, whatever its name is outside.
        for (std::filesystem::path group = line.substr(second + 1); !group.empty(); group = group.parent_path()) {
            const std::filesystem::path folder = top / group.relative_path();
            take(isOne ? ParseProcessorQuota(ReadText(folder / "cpu.max").c_str())
                       : ParseProcessorQuota(
                             (ReadText(folder / "cpu.cfs_quota_us") + ' ' + ReadText(folder / "cpu.cfs_period_us"))
                                 .c_str()));
            if (group == group.root_path()) break;
        }
    }
    return smallest;
}

/// The first number of a variable: OMP_NUM_THREADS may hold one for each level of nesting.
std::optional<int> ReadVariable(const char* name) {
    const char* const text = std::getenv(name);
    const int number = text == nullptr ? 0 : std::atoi(text);
    return number > 0 ? std::optional(number) : std::nullopt;
}

}  // namespace

std::optional<double> ParseProcessorQuota(const char* text) {
    double quota = 0, period = 0;
    if (std::sscanf(text, "%lf %lf", &quota, &period) != 2 || !(quota > 0) || !(period > 0)) return std::nullopt;
    return quota / period;
}

int CountProcessors() {
    const int allowed = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    const std::optional<double> quota = FindQuota();
    return quota ? std::clamp(static_cast<int>(std::ceil(*quota)), 1, allowed) : allowed;
}

int ChooseProcessors(std::optional<int> asked) {
    std::optional<int> wanted = asked;
    for (const char* name : {"CUE_THREADS", "SLURM_CPUS_PER_TASK", "OMP_NUM_THREADS"}) {
        if (!wanted) wanted = ReadVariable(name);
    }
    const int most = CountProcessors();
    return wanted ? std::min(*wanted, most) : most;
}

}  // namespace nimbrel::host
