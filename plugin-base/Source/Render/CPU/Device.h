#pragma once

#include <string>

#include "PluginBase/Render/Render.h"
#include "Render/CPU/Classes.h"
#include "Render/CPU/ThreadPool.h"
#include "Render/DeviceOf.h"

namespace zeb::render::cpu {

/// The machine's own cores as a device: programs are the functions of Programs.h, run on a pool of threads that is kept
/// between frames and shared by all threads that render. What other devices refuse is refused here with the same words.
class DeviceCPU final : public DeviceOf<ClassesCPU> {
public:
    DeviceCPU(std::string name, const RenderOptions& options);
    ~DeviceCPU() override;

    // There are no waves, and a group is a loop: programs are chosen that need neither waves nor barriers.
    std::uint32_t GetWaveLaneCount() const override { return 0; }
    bool AreGroupBarriersCostly() const override { return true; }
    bool CanSort() const override { return true; }

protected:
    UniquePtr<ShaderLibrary> DoCreateShaderLibraryFromEmbeddedData(std::string name) override;
    void DoCreateBufferView(DescriptorRange& range, std::uint32_t index, Buffer& buffer,
                            const BufferViewDescription& view) override;
    void DoCreateTextureView(DescriptorRange& range, std::uint32_t index, Texture& texture,
                             TextureViewKind kind) override;
    void DoCreateSamplerView(DescriptorRange& range, std::uint32_t index, Sampler& sampler) override;

private:
    ThreadPool mThreads;
};

}  // namespace zeb::render::cpu
