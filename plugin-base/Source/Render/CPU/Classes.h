#pragma once

#include <memory>

#include "Render/DescriptorTable.h"
#include "Render/RootRegisters.h"

namespace zeb::render::cpu {

class BufferCPU;
class CommandListCPU;
class CommandQueueCPU;
class ComputePipelineStateCPU;
class DeviceReport;
class GraphicsPipelineStateCPU;
class SamplerCPU;
class TextureCPU;
struct BufferResource;
struct TextureResource;

/// This back end's classes, by the names that the templates shared with others have for them. What a descriptor holds
/// when work is recorded is copied into the work.
struct ClassesCPU {
    using Context = std::shared_ptr<const DeviceReport>;
    using BufferResource = cpu::BufferResource;
    using TextureResource = cpu::TextureResource;
    using SamplerState = SamplerDescription;
    using CommandList = CommandListCPU;
    using RootSignatureObject = RootSignatureOf<ClassesCPU>;
    using BufferObject = BufferCPU;
    using TextureObject = TextureCPU;
    using SamplerObject = SamplerCPU;
    using DescriptorHeapObject = DescriptorHeapOf<ClassesCPU>;
    using GraphicsPipelineObject = GraphicsPipelineStateCPU;
    using ComputePipelineObject = ComputePipelineStateCPU;
    using CommandQueueObject = CommandQueueCPU;
};

using DescriptorRangeCPU = DescriptorRangeOf<ClassesCPU>;
using RootSignatureCPU = RootSignatureOf<ClassesCPU>;

}  // namespace zeb::render::cpu
