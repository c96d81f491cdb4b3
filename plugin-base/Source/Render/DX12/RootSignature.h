#pragma once

#include <memory>
#include <vector>

#include "DeviceContext.h"
#include "PluginBase/Render/Objects.h"

namespace zeb::render {

/// A native root signature; one for all threads that state the same.
struct RootSignatureResource {
    ComPointer<ID3D12RootSignature> mRootSignature;
};

/// Parameters gather until a pipeline or an encoder needs the native object; then it is made, once.
class RootSignatureDX12 final : public RootSignature {
public:
    RootSignatureDX12(std::shared_ptr<DeviceContext> context, std::string name)
        : RootSignature(std::move(name)), mContext(std::move(context)) {}

    /// The native object. Parameters added after the first call are not part of it.
    ID3D12RootSignature* CompileAndGet();

protected:
    void DoAddParameter(const RootParameter& parameter) override;

private:
    struct NativeParameter {
        D3D12_ROOT_PARAMETER1 mParameter;
        std::vector<D3D12_DESCRIPTOR_RANGE1> mRanges;
    };
    ComPointer<ID3DBlob> Serialize() const;
    std::shared_ptr<RootSignatureResource> Compile() const;

    std::shared_ptr<DeviceContext> mContext;
    std::vector<NativeParameter> mNative;
    std::shared_ptr<RootSignatureResource> mResource;
};

RootSignatureDX12& ToDX12(RootSignature& signature);

}  // namespace zeb::render
