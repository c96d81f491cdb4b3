#include "NimbrelHost/Commands/SuiteRegistry.h"

#include <fmt/format.h>

namespace nimbrel::host {

void SuiteRegistry::Add(const std::string& name, std::int32_t version, const void* table) {
    const std::scoped_lock lock(mMutex);
    mEntries[{name, version}].mTable = table;
}

const void* SuiteRegistry::Acquire(const char* name, std::int32_t version) {
    if (name == nullptr) return nullptr;
    const std::scoped_lock lock(mMutex);
    const auto found = mEntries.find(std::pair(std::string_view(name), version));
    // Versions are exact: a table of another version has other slots.
    if (found == mEntries.end()) return nullptr;
    ++found->second.mHeld;
    return found->second.mTable;
}

const void* SuiteRegistry::Find(const char* name, std::int32_t version) const {
    if (name == nullptr) return nullptr;
    const std::scoped_lock lock(mMutex);
    const auto found = mEntries.find(std::pair(std::string_view(name), version));
    return found == mEntries.end() ? nullptr : found->second.mTable;
}

// An effect may release on another thread than it acquired on, so counts are per suite and not per thread.
bool SuiteRegistry::Release(const char* name, std::int32_t version) {
    if (name == nullptr) return false;
    const std::scoped_lock lock(mMutex);
    const auto found = mEntries.find(std::pair(std::string_view(name), version));
    if (found == mEntries.end() || found->second.mHeld == 0) return false;
    --found->second.mHeld;
    return true;
}

int SuiteRegistry::CountHeld(const std::string& name, std::int32_t version) const {
    const std::scoped_lock lock(mMutex);
    const auto found = mEntries.find(std::pair(std::string_view(name), version));
    return found == mEntries.end() ? 0 : found->second.mHeld;
}

// A suite that stays held costs this host nothing, but a real host keeps its code loaded for it.
std::vector<std::string> SuiteRegistry::ListHeld() const {
    const std::scoped_lock lock(mMutex);
    std::vector<std::string> held;
    for (const auto& [key, entry] : mEntries) {
        if (entry.mHeld == 0) continue;
        held.push_back(fmt::format("{} {} (held {} times)", key.first, key.second, entry.mHeld));
    }
    return held;
}

}  // namespace nimbrel::host
