#pragma once

namespace zeb::render {

/// The programs of Shaders/ as C++ for the CPU device, under the same names. Called once.
void RegisterCpuTestPrograms();

}  // namespace zeb::render
