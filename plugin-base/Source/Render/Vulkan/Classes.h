#pragma once

#include <memory>

#include "DescriptorTable.h"
#include "RootRegisters.h"

namespace zeb::render {

class BufferVulkan;
class CommandListVulkan;
class CommandQueueVulkan;
class ComputePipelineStateVulkan;
class DeviceContext;
class GraphicsPipelineStateVulkan;
class SamplerVulkan;
class TextureVulkan;
struct BufferResource;
struct SamplerResource;
struct TextureResource;

/// This back end's classes, by the names that the templates shared with others have for them. What a descriptor holds
/// when work is recorded is pushed with it.
struct ClassesVulkan {
    using Context = std::shared_ptr<DeviceContext>;
    using BufferResource = render::BufferResource;
    using TextureResource = render::TextureResource;
    using SamplerState = std::shared_ptr<SamplerResource>;
    using CommandList = CommandListVulkan;
    using RootSignatureObject = RootSignatureOf<ClassesVulkan>;
    using BufferObject = BufferVulkan;
    using TextureObject = TextureVulkan;
    using SamplerObject = SamplerVulkan;
    using DescriptorHeapObject = DescriptorHeapOf<ClassesVulkan>;
    using GraphicsPipelineObject = GraphicsPipelineStateVulkan;
    using ComputePipelineObject = ComputePipelineStateVulkan;
    using CommandQueueObject = CommandQueueVulkan;
};

using DescriptorRangeVulkan = DescriptorRangeOf<ClassesVulkan>;
using RootSignatureVulkan = RootSignatureOf<ClassesVulkan>;

}  // namespace zeb::render
