#pragma once

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "PipelineLayout.h"
#include "PluginBase/Render/Objects.h"

namespace zeb::render {

/// A native pipeline, kept by the lists that use it.
struct PipelineResource {
    explicit PipelineResource(std::shared_ptr<const PipelineLayout> layout) : mLayout(std::move(layout)) {}
    ~PipelineResource();
    PipelineResource(const PipelineResource&) = delete;
    PipelineResource& operator=(const PipelineResource&) = delete;

    std::shared_ptr<const PipelineLayout> mLayout;
    VkPipeline mPipeline = VK_NULL_HANDLE;
};

class ComputePipelineStateVulkan final : public ComputePipelineState {
public:
    ComputePipelineStateVulkan(const std::shared_ptr<DeviceContext>& context, std::string name,
                               const ComputePipelineDescription& description);

    const std::shared_ptr<PipelineResource>& GetResource() const { return mResource; }

private:
    std::shared_ptr<PipelineResource> mResource;
};

/// What Vulkan bakes into a pipeline but the interface states with each draw.
struct PipelineVariant {
    Topology mTopology = Topology::Undefined;
    std::array<std::uint32_t, kMaxVertexSlots> mStrides = {};

    auto operator<=>(const PipelineVariant&) const = default;
};

/// What states that draw alike have in common, of whatever thread: the layout, and one native pipeline for each
/// topology and set of vertex strides that is drawn with, made at first use. Thread: any.
class GraphicsPipelines {
public:
    explicit GraphicsPipelines(std::shared_ptr<const PipelineLayout> layout) : mLayout(std::move(layout)) {}

    const PipelineLayout& GetLayout() const { return *mLayout; }
    /// `description` is that of any of the states.
    std::shared_ptr<PipelineResource> Get(const PipelineVariant& variant,
                                          const GraphicsPipelineDescription& description);

private:
    std::shared_ptr<PipelineResource> Create(const PipelineVariant& variant,
                                             const GraphicsPipelineDescription& description) const;

    std::shared_ptr<const PipelineLayout> mLayout;
    std::mutex mMutex;
    std::map<PipelineVariant, std::shared_ptr<PipelineResource>> mVariants;
};

/// Programs without vertex buffers get the pipeline of their list topology at once.
class GraphicsPipelineStateVulkan final : public GraphicsPipelineState {
public:
    GraphicsPipelineStateVulkan(const std::shared_ptr<DeviceContext>& context, std::string name,
                                const GraphicsPipelineDescription& description);

    std::shared_ptr<PipelineResource> Get(PipelineVariant variant) const;
    const PipelineLayout& GetLayout() const { return mPipelines->GetLayout(); }

private:
    void CheckDescription() const;

    std::shared_ptr<GraphicsPipelines> mPipelines;
};

ComputePipelineStateVulkan& ToVulkan(ComputePipelineState& state);
GraphicsPipelineStateVulkan& ToVulkan(GraphicsPipelineState& state);
RootSignatureVulkan& ToVulkan(RootSignature& signature);

}  // namespace zeb::render
