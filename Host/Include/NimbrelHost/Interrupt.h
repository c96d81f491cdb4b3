#pragma once

namespace nimbrel::host {

/// The user's wish to stop, process-wide. The effect learns of it when it reports progress or asks for an abort.
/// RequestInterrupt may be called from a signal handler.
void RequestInterrupt() noexcept;
void ClearInterrupt() noexcept;
bool IsInterrupted() noexcept;

}  // namespace nimbrel::host
