#include "PipelineKeys.h"

namespace zeb::render {
namespace {

void AddShader(ObjectKey& key, const Shader& shader) { key.AddBytes(shader.GetData(), shader.GetSize()); }

void AddSignature(ObjectKey& key, const RootSignature& signature) {
    key.Add(signature.GetName());
    for (const RootParameter& parameter : signature.GetParameters()) {
        key.Add(parameter.mKind);
        key.Add(parameter.mVisibility);
        key.Add(parameter.mRegister);
        key.Add(parameter.mSpace);
        key.Add(parameter.mConstantCount);
        key.Add(parameter.mRanges.size());
        for (const DescriptorTableRange& range : parameter.mRanges) {
            key.Add(range.mType);
            key.Add(range.mCount);
            key.Add(range.mRegister);
        }
    }
}

void AddVertexElements(ObjectKey& key, const std::vector<VertexElement>& elements) {
    key.Add(elements.size());
    for (const VertexElement& element : elements) {
        key.Add(element.mSemanticName);
        key.Add(element.mSemanticIndex);
        key.Add(element.mFormat);
        key.Add(element.mInputSlot);
        key.Add(element.mAlignedByteOffset);
    }
}

}  // namespace

ObjectKey MakeKey(const RootSignature& signature) {
    ObjectKey key;
    AddSignature(key, signature);
    return key;
}

ObjectKey MakeKey(const std::string& name, const GraphicsPipelineDescription& description) {
    ObjectKey key;
    key.Add('g');
    key.Add(name);
    AddShader(key, *description.mVertexShader);
    AddShader(key, *description.mPixelShader);
    AddSignature(key, *description.mRootSignature);
    AddVertexElements(key, description.mVertexElements);
    key.Add(description.mBlendEnabled);
    for (const BlendFactor factor : {description.mSourceColorFactor, description.mDestinationColorFactor,
                                     description.mSourceAlphaFactor, description.mDestinationAlphaFactor})
        key.Add(factor);
    key.Add(description.mColorOperation);
    key.Add(description.mAlphaOperation);
    key.Add(description.mFillMode);
    key.Add(description.mCullMode);
    key.Add(description.mFrontFace);
    key.Add(description.mTopologyType);
    key.Add(description.mSampleCount);
    key.Add(description.mSampleQuality);
    for (std::int32_t i = 0; i < description.mRenderTargetCount; ++i) key.Add(description.mRenderTargetFormats[i]);
    return key;
}

ObjectKey MakeKey(const std::string& name, const ComputePipelineDescription& description) {
    ObjectKey key;
    key.Add('c');
    key.Add(name);
    AddShader(key, *description.mComputeShader);
    AddSignature(key, *description.mRootSignature);
    return key;
}

}  // namespace zeb::render
