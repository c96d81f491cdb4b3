#pragma once

/// The splat programs as the CPU device runs them: registers unpacked for the functions that do the work.
namespace nimbrel::cpu {

void RegisterSplatKernels();   ///< the four CS programs
void RegisterSplatDrawings();  ///< splats, boxes, the background and the gizmos

}  // namespace nimbrel::cpu
