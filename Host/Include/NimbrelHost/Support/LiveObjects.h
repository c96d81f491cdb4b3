#pragma once

#include <memory>
#include <mutex>
#include <unordered_map>

namespace nimbrel::host {

/// Objects that the effect holds by opaque reference and must give back. Any thread.
template <class T>
class LiveObjects {
public:
    T* Add(std::unique_ptr<T> object) {
        const std::scoped_lock lock(mMutex);
        T* const pointer = object.get();
        mObjects.emplace(pointer, std::move(object));
        return pointer;
    }

    /// The object, or null if the reference is not, or no longer, one of these.
    T* Find(const void* reference) const {
        const std::scoped_lock lock(mMutex);
        const auto found = mObjects.find(reference);
        return found == mObjects.end() ? nullptr : found->second.get();
    }

    /// Hands the object back to the caller; null for an unknown reference.
    std::unique_ptr<T> Take(const void* reference) {
        const std::scoped_lock lock(mMutex);
        const auto found = mObjects.find(reference);
        if (found == mObjects.end()) return nullptr;
        std::unique_ptr<T> object = std::move(found->second);
        mObjects.erase(found);
        return object;
    }

    std::size_t Count() const {
        const std::scoped_lock lock(mMutex);
        return mObjects.size();
    }

private:
    mutable std::mutex mMutex;
    std::unordered_map<const void*, std::unique_ptr<T>> mObjects;
};

}  // namespace nimbrel::host
