#include "RegisterShaders.h"

#include <mutex>

#include "EmbeddedPrograms.h"
#include "PluginBase/Render/Render.h"

namespace nimbrel {

void RegisterShaders() {
    static std::once_flag registered;
    std::call_once(registered, [] {
        for (std::size_t i = 0; i < embedded::kProgramCount; ++i) {
            const embedded::Program& program = embedded::kPrograms[i];
            zeb::render::EmbeddedShaderData data;
            for (std::size_t stage = 0; stage < embedded::kStageCount; ++stage)
                data.mStages[stage] = {program.mStages[stage].mSize, program.mStages[stage].mData};
            zeb::render::Render::SetEmbeddedShaderData(program.mName, data, program.mFormat);
        }
    });
}

}  // namespace nimbrel
