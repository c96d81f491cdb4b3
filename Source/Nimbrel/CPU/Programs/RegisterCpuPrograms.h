#pragma once

namespace nimbrel {

/// Enters the splat programs' C++ forms for the CPU device, under the names that the GPU programs have: once, any
/// thread.
void RegisterCpuPrograms();

}  // namespace nimbrel
