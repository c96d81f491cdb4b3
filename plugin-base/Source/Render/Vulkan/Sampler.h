#pragma once

#include <memory>

#include "DeviceContext.h"
#include "PluginBase/Render/Objects.h"

namespace zeb::render {

struct SamplerResource {
    SamplerResource(std::shared_ptr<DeviceContext> context, const std::string& name,
                    const SamplerDescription& description);
    ~SamplerResource();
    SamplerResource(const SamplerResource&) = delete;
    SamplerResource& operator=(const SamplerResource&) = delete;

    std::shared_ptr<DeviceContext> mContext;
    VkSampler mSampler = VK_NULL_HANDLE;
};

class SamplerVulkan final : public Sampler {
public:
    SamplerVulkan(const std::shared_ptr<DeviceContext>& context, std::string name,
                  const SamplerDescription& description)
        : Sampler(std::move(name)), mResource(std::make_shared<SamplerResource>(context, GetName(), description)) {}

    const std::shared_ptr<SamplerResource>& GetResource() const { return mResource; }

private:
    std::shared_ptr<SamplerResource> mResource;
};

}  // namespace zeb::render
