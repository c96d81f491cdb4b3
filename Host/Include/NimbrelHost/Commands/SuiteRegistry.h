#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace nimbrel::host {

/// The function tables that the effect can acquire by name and version, with a count of who has not released yet.
/// Tables are filled before the effect starts; acquiring and releasing is for any thread.
class SuiteRegistry {
public:
    void Add(const std::string& name, std::int32_t version, const void* table);

    /// Null if the suite is not served; otherwise one more must be released.
    const void* Acquire(const char* name, std::int32_t version);
    /// False for a suite that is not held.
    bool Release(const char* name, std::int32_t version);

    /// The same for those who keep suites for good: nothing has to be released.
    const void* Find(const char* name, std::int32_t version) const;

    int CountHeld(const std::string& name, std::int32_t version) const;
    /// "AEGP Layer Suite 14 (held 2 times)" for each suite that was not given back.
    std::vector<std::string> ListHeld() const;

private:
    struct Entry {
        const void* mTable = nullptr;
        int mHeld = 0;
    };

    /// Compares with names that nobody owns, too: giving back takes no memory.
    struct Before {
        using is_transparent = void;
        template <class A, class B>
        bool operator()(const A& a, const B& b) const {
            const std::string_view nameA = a.first;
            const std::string_view nameB = b.first;
            return nameA != nameB ? nameA < nameB : a.second < b.second;
        }
    };

    mutable std::mutex mMutex;
    std::map<std::pair<std::string, std::int32_t>, Entry, Before> mEntries;
};

}  // namespace nimbrel::host
