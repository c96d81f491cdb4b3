#pragma once

#include <memory>

#include "Classes.h"
#include "DeviceContext.h"
#include "DeviceOf.h"

namespace zeb::render {

class DeviceVulkan final : public DeviceOf<ClassesVulkan> {
public:
    DeviceVulkan(std::shared_ptr<DeviceContext> context, std::string name, const DescriptorHeapSizes& heapSizes);
    ~DeviceVulkan() override;

    std::uint32_t GetWaveLaneCount() const override { return GetContext()->GetWaveLaneCount(); }
    // Programs of a software device run group by group on one core, where each barrier switches through all threads.
    bool AreGroupBarriersCostly() const override { return GetContext()->IsSoftware(); }
    bool HasDiamondLines() const override { return GetContext()->HasBresenhamLines(); }

protected:
    UniquePtr<ShaderLibrary> DoCreateShaderLibraryFromEmbeddedData(std::string name) override;
    void DoCreateBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                            const BufferViewDescription& view) override;
    void DoCreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture,
                             TextureViewKind kind) override;
    void DoCreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) override;
};

}  // namespace zeb::render
