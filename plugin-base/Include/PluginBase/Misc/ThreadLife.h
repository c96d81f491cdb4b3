#pragma once

#include <cstdint>

namespace zeb {

/// The thread that makes the object, for others to ask after.
class ThreadLife {
public:
    ThreadLife();
    ~ThreadLife();
    ThreadLife(const ThreadLife&) = delete;
    ThreadLife& operator=(const ThreadLife&) = delete;

    /// Whether the thread has ended. Where the system cannot tell: false.
    bool HasEnded() const;

private:
    std::uint32_t mNumber;
    void* mHandle = nullptr;  ///< of the thread, on Windows
};

}  // namespace zeb
