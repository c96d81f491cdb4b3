#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Runs the GPU sort and holds it against a sort of the standard library.
namespace nimbrel::test {

/// Names of the five kernels with the suffix of the form, where the form has
/// its own ("", ".Wave", ".Serial").
struct SortForm {
    std::string mSuffix;
    bool Has(const std::string& kernel) const;
    std::string NameOf(const std::string& kernel) const { return Has(kernel) ? kernel + mSuffix : kernel; }
};

/// Every kind of keys of a case, `count` each: random, few distinct, equal,
/// ascending, descending, depths, greatest.
struct KeySet {
    std::string mName;
    std::vector<std::uint32_t> mKeys;
};
std::vector<KeySet> MakeKeySets(std::uint32_t count);

/// Counts around every edge of threads, blocks and groups, up to `limit`.
std::vector<std::uint32_t> EdgeCounts(std::uint32_t limit);

/// Another sharing-out of keys than the sort's own: few groups of many blocks.
struct KeyShares {
    std::uint32_t mGroups = 0;  ///< 0: the sort's own
    std::int32_t mBlocksPerGroup = 0;
    std::uint32_t mGroupsWithAdditionalBlock = 0;
};

/// Sorts on the device, with words around all buffers that must stay as they
/// are and buffers at odd offsets; fails the test on any difference from
/// std::stable_sort.
void ExpectSorts(const SortForm& form, const KeySet& set, const KeyShares& shares = {});

}  // namespace nimbrel::test
