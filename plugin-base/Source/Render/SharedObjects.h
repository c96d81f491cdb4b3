#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <type_traits>

namespace zeb::render {

/// All that an object is made from, as one text of bytes to find it by.
class ObjectKey {
public:
    template <class T>
    void Add(const T& value) {
        static_assert(std::is_arithmetic_v<T> || std::is_enum_v<T>, "records have padding");
        mBytes.append(reinterpret_cast<const char*>(&value), sizeof(value));
    }
    void Add(const std::string& text) { AddBytes(text.data(), text.size()); }
    void AddBytes(const void* data, std::size_t size) {
        Add(size);
        mBytes.append(static_cast<const char*>(data), size);
    }
    const std::string& Get() const { return mBytes; }

private:
    std::string mBytes;
};

/// Objects that several threads want alike: each is made once and lives as long as somebody holds it. Who wants one
/// that another thread is making waits for it; other objects are made meanwhile. Thread: any.
template <class T>
class SharedObjects {
public:
    /// What `make` throws passes through, and the next who asks tries again.
    template <class Make>
    std::shared_ptr<T> Get(const ObjectKey& key, const Make& make) {
        const std::shared_ptr<Entry> entry = GetEntry(key);
        const std::lock_guard lock(entry->mMutex);
        std::shared_ptr<T> object = entry->mObject.lock();
        if (!object) {
            object = make();
            entry->mObject = object;
        }
        return object;
    }

private:
    struct Entry {
        std::mutex mMutex;
        std::weak_ptr<T> mObject;
    };

    std::shared_ptr<Entry> GetEntry(const ObjectKey& key) {
        const std::lock_guard lock(mMutex);
        std::shared_ptr<Entry>& entry = mEntries[key.Get()];
        if (!entry) entry = std::make_shared<Entry>();
        return entry;
    }

    std::mutex mMutex;
    std::map<std::string, std::shared_ptr<Entry>> mEntries;
};

}  // namespace zeb::render
