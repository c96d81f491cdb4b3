#pragma once

namespace zeb {

/// Keeps the library or program that `address` lies in loaded until the process ends.
void KeepLibraryLoaded(const void* address);

}  // namespace zeb
