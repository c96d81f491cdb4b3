#include "Render/CPU/Device.h"

#include "Render/CPU/CommandQueue.h"
#include "Render/CPU/Pipelines.h"
#include "Render/CPU/Resources.h"
#include "Render/ShaderLibrary.h"

namespace zeb::render::cpu {

DeviceCPU::DeviceCPU(std::string name, const RenderOptions& options)
    : DeviceOf(std::make_shared<const DeviceReport>(options.mReportValidation), std::move(name), options.mHeapSizes),
      mThreads(options.mProcessorLimit) {
    RegisterFrameworkPrograms();
}

// The records go before the threads that their work runs on.
DeviceCPU::~DeviceCPU() { ReleaseThreadData(); }

UniquePtr<ShaderLibrary> DeviceCPU::DoCreateShaderLibraryFromEmbeddedData(std::string name) {
    return MakeUnique<ShaderLibraryCPU>(std::move(name));
}

void DeviceCPU::DoCreateBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                                   const BufferViewDescription& view) {
    DescriptorRangeCPU::From(range).Set(
        index, BufferViewOf<ClassesCPU>{ToCPU(buffer).GetResource(), view.mByteOffset, view.mSizeInBytes});
}

void DeviceCPU::DoCreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture,
                                    TextureViewKind kind) {
    DescriptorRangeCPU::From(range).Set(index, TextureViewOf<ClassesCPU>{ToCPU(texture).GetResource(), kind});
}

void DeviceCPU::DoCreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) {
    DescriptorRangeCPU::From(range).Set(index, ToOwn<SamplerCPU>(sampler, "sampler").GetDescription());
}

}  // namespace zeb::render::cpu
