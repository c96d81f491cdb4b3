#pragma once

#include <cstdint>

namespace zeb {

/// The operating system's number of the calling thread; another thread may get it after this one has ended.
std::uint32_t GetCurrentThreadNumber();

}  // namespace zeb
