#include "Sampler.h"

#include <fmt/format.h>

#include "EnumTables.h"

namespace zeb::render {

SamplerResource::SamplerResource(std::shared_ptr<DeviceContext> context, const std::string& name,
                                 const SamplerDescription& description)
    : mContext(std::move(context)) {
    VkSamplerCreateInfo info = {VK_STRUCTURE_TYPE_SAMPLER_CREATE_INFO};
    info.magFilter = GetFilterVulkan(description.mMagFilter);
    info.minFilter = GetFilterVulkan(description.mMinFilter);
    info.mipmapMode = GetFilterVulkan(description.mMipFilter) == VK_FILTER_LINEAR ? VK_SAMPLER_MIPMAP_MODE_LINEAR
                                                                                  : VK_SAMPLER_MIPMAP_MODE_NEAREST;
    info.addressModeU = GetAddressModeVulkan(description.mAddressU);
    info.addressModeV = GetAddressModeVulkan(description.mAddressV);
    info.addressModeW = GetAddressModeVulkan(description.mAddressW);
    info.maxLod = VK_LOD_CLAMP_NONE;
    ZEB_VK_CHECK_FOR(mContext->Api().vkCreateSampler(mContext->Get(), &info, nullptr, &mSampler), name);
    mContext->SetName(VK_OBJECT_TYPE_SAMPLER, mSampler, name);
}

SamplerResource::~SamplerResource() { mContext->Api().vkDestroySampler(mContext->Get(), mSampler, nullptr); }

}  // namespace zeb::render
