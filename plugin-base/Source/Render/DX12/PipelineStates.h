#pragma once

#include <memory>

#include "DeviceContext.h"
#include "PluginBase/Render/Objects.h"

namespace zeb::render {

/// A native pipeline, one for all threads that draw alike, kept by the lists that use it; it keeps its root signature.
struct PipelineResource {
    ComPointer<ID3D12PipelineState> mPipelineState;
};

class GraphicsPipelineStateDX12 final : public GraphicsPipelineState {
public:
    GraphicsPipelineStateDX12(const std::shared_ptr<DeviceContext>& context, std::string name,
                              const GraphicsPipelineDescription& description);
    const std::shared_ptr<PipelineResource>& GetResource() const { return mResource; }

private:
    std::shared_ptr<PipelineResource> mResource;
};

class ComputePipelineStateDX12 final : public ComputePipelineState {
public:
    ComputePipelineStateDX12(const std::shared_ptr<DeviceContext>& context, std::string name,
                             const ComputePipelineDescription& description);
    const std::shared_ptr<PipelineResource>& GetResource() const { return mResource; }

private:
    std::shared_ptr<PipelineResource> mResource;
};

}  // namespace zeb::render
