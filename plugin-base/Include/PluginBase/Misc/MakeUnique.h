#pragma once

#include <memory>
#include <type_traits>
#include <utility>

/// Unique owners with stored deleters.
///
/// An object is destroyed by the function that was stored when it was made, so that it can be created
/// in one module, held by an interface pointer in another, or live in memory of the host.
namespace zeb {

template <class T>
class StoredDeleter {
public:
    using Function = void (*)(void*);

    StoredDeleter() = default;
    StoredDeleter(Function function, void* object) : mFunction(function), mObject(object) {}

    /// A deleter of a derived class serves its bases: the object's own address was stored.
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    StoredDeleter(const StoredDeleter<U>& other)  // NOLINT(google-explicit-constructor)
        : mFunction(other.GetFunction()), mObject(other.GetObject()) {}

    void operator()(T* pointer) const {
        if (pointer != nullptr && mFunction != nullptr) mFunction(mObject);
    }

    Function GetFunction() const { return mFunction; }
    void* GetObject() const { return mObject; }

private:
    Function mFunction = nullptr;
    void* mObject = nullptr;
};

template <class T>
using UniquePtr = std::unique_ptr<T, StoredDeleter<T>>;

template <class T, class... Args>
UniquePtr<T> MakeUnique(Args&&... args) {
    T* object = new T(std::forward<Args>(args)...);
    return UniquePtr<T>(object, StoredDeleter<T>([](void* p) { delete static_cast<T*>(p); }, object));
}

}  // namespace zeb
