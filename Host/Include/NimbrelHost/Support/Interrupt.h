#pragma once

namespace nimbrel::host {

/// The user's wish to stop, process-wide. The effect learns of it when it reports progress or asks for an abort.
/// RequestInterrupt may be called from a signal handler.
void RequestInterrupt() noexcept;
void ClearInterrupt() noexcept;
bool IsInterrupted() noexcept;

/// From now on the terminal's interrupt (and a request to end, or to close the console's window) asks the effect to
/// stop at its next report of progress; the second one ends the process.
void CatchInterrupts() noexcept;

}  // namespace nimbrel::host
