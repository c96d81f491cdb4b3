#include "NimbrelHost/Interrupt.h"

#include <atomic>

namespace nimbrel::host {
namespace {

std::atomic<bool> gInterrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

}  // namespace

void RequestInterrupt() noexcept { gInterrupted = true; }
void ClearInterrupt() noexcept { gInterrupted = false; }
bool IsInterrupted() noexcept { return gInterrupted; }

}  // namespace nimbrel::host
