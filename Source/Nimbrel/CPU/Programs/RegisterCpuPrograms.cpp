#include "Nimbrel/CPU/Programs/RegisterCpuPrograms.h"

#include <mutex>

#include "Nimbrel/CPU/Programs/SplatPrograms.h"

namespace nimbrel {

void RegisterCpuPrograms() {
    static std::once_flag registered;
    std::call_once(registered, [] {
        cpu::RegisterSplatKernels();
        cpu::RegisterSplatDrawings();
    });
}

}  // namespace nimbrel
