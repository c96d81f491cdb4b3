#pragma once

#include <memory>

#include "PluginBase/Render/Objects.h"
#include "Resource.h"

namespace zeb::render {

class TextureDX12 final : public Texture {
public:
    TextureDX12(const std::shared_ptr<DeviceContext>& context, std::string name, const TextureDescription& description,
                TextureState initialState);

    const std::shared_ptr<ResourceDX12>& GetResource() const { return mResource; }
    UINT GetSubresource(std::uint32_t mipLevel, std::uint32_t arrayIndex) const {
        return arrayIndex * GetDescription().mMipLevels + mipLevel;
    }

protected:
    CopyableLayout DoGetCopyableLayout(std::uint32_t mipLevel, std::uint32_t arrayIndex) const override;

private:
    void Init(TextureState initialState);

    std::shared_ptr<ResourceDX12> mResource;
};

TextureDX12& ToDX12(Texture& texture);

}  // namespace zeb::render
