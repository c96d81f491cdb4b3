#pragma once

#include <memory>
#include <vector>

#include "Render/CPU/Classes.h"
#include "Render/CPU/Pipelines.h"
#include "Render/CPU/Resources.h"
#include "Render/RootArguments.h"

namespace zeb::render::cpu {

/// Everything that one dispatch or draw reads and writes, as it stood when the work was recorded.
struct BoundWork {
    std::shared_ptr<const Pipeline> mPipeline;
    Bindings mBindings;
    std::vector<std::shared_ptr<const void>> mKept;  ///< resources and constants that the bindings point into
};

/// What a pipeline's registers make of the arguments. Throws for an argument that is missing or does not fit.
/// `target`, if any, is drawn to at the same time and may not be read.
BoundWork Bind(const RootArgumentsOf<ClassesCPU>& arguments, const std::shared_ptr<const Pipeline>& pipeline,
               const TextureResource* target = nullptr);

}  // namespace zeb::render::cpu
