#include "RenderHelper/ComputeProgram.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "PluginBase/Exception.h"

using namespace zeb::render;

ComputeProgram::ComputeProgram(Device& device, std::string name, std::uint32_t threadGroupSize)
    : mDevice(device),
      mName(std::move(name)),
      mLibrary(device.CreateShaderLibraryFromEmbeddedData(mName)),
      mShader(mLibrary->GetShader(ShaderType::Compute)),
      mRootSignature(device.CreateRootSignature(mName)),
      mThreadGroupSize(threadGroupSize) {}

void ComputeProgram::Register(std::uint32_t shaderRegister) {
    mParameterIndices[shaderRegister] = mNextParameterIndex++;
}

void ComputeProgram::AddConstantBuffer(std::uint32_t shaderRegister) {
    mRootSignature->AddRootConstantBufferView(shaderRegister);
    Register(shaderRegister);
}

void ComputeProgram::AddRootConstants(std::uint32_t count, std::uint32_t shaderRegister) {
    mRootSignature->AddRootConstants(count, shaderRegister);
    Register(shaderRegister);
}

void ComputeProgram::AddShaderResource(std::uint32_t shaderRegister) {
    mRootSignature->AddRootShaderResourceBufferView(shaderRegister);
    Register(shaderRegister);
}

void ComputeProgram::AddUnorderedAccess(std::uint32_t shaderRegister) {
    mRootSignature->AddRootUnorderedAccessBufferView(shaderRegister);
    Register(shaderRegister);
}

void ComputeProgram::AddDescriptorTable(DescriptorRangeType type, std::uint32_t count, std::uint32_t shaderRegister) {
    mRootSignature->AddDescriptorTable({{type, count, shaderRegister}});
    Register(shaderRegister);
}

void ComputeProgram::SetConstant(Encoder& encoder, std::uint32_t shaderRegister, std::uint32_t value) const {
    encoder.SetRootConstant(GetParameterIndex(shaderRegister), value);
}

void ComputeProgram::SetConstants(Encoder& encoder, std::uint32_t shaderRegister, std::uint32_t count,
                                  const void* data) const {
    encoder.SetRootConstants(GetParameterIndex(shaderRegister), count, data);
}

void ComputeProgram::SetConstantBuffer(Encoder& encoder, std::uint32_t shaderRegister, Buffer& buffer,
                                       std::uint64_t byteOffset) const {
    encoder.SetRootConstantBufferView(GetParameterIndex(shaderRegister), buffer, byteOffset);
}

void ComputeProgram::SetDescriptorRange(Encoder& encoder, std::uint32_t shaderRegister, DescriptorRange& range,
                                        std::uint32_t index) const {
    encoder.SetRootDescriptorTable(GetParameterIndex(shaderRegister), range, index);
}

void ComputeProgram::SetShaderResource(Encoder& encoder, std::uint32_t shaderRegister, Buffer& buffer,
                                       std::uint64_t byteOffset, std::uint64_t sizeInBytes) const {
    encoder.SetRootShaderResourceBufferView(GetParameterIndex(shaderRegister), buffer, byteOffset, sizeInBytes);
}

void ComputeProgram::SetUnorderedAccess(Encoder& encoder, std::uint32_t shaderRegister, Buffer& buffer,
                                        std::uint64_t byteOffset, std::uint64_t sizeInBytes) const {
    encoder.SetRootUnorderedAccessBufferView(GetParameterIndex(shaderRegister), buffer, byteOffset, sizeInBytes);
}

std::uint32_t ComputeProgram::GetParameterIndex(std::uint32_t shaderRegister) const {
    const auto found = mParameterIndices.find(shaderRegister);
    if (found == mParameterIndices.end()) {
        ZEB_THROW(zeb::kInternalError,
                  fmt::format("Failed to get the parameter index by register index of {}", shaderRegister));
    }
    return found->second;
}

ComputePipelineState& ComputeProgram::GetPipelineState() {
    if (mPipelineState == nullptr)
        mPipelineState = mDevice.CreateComputePipelineState(mName, {mRootSignature.get(), mShader.get()});
    return *mPipelineState;
}

void ComputeProgram::Use(Encoder& encoder) {
    encoder.SetRootSignature(*mRootSignature);
    encoder.SetPipelineState(GetPipelineState());
}

void ComputeProgram::DispatchItems(Encoder& encoder, std::uint32_t count) const {
    const std::uint32_t groups = count / mThreadGroupSize + (count % mThreadGroupSize != 0 ? 1 : 0);
    const std::uint32_t rows = groups / kMaxGroups + (groups % kMaxGroups != 0 ? 1 : 0);
    encoder.Dispatch(std::min(groups, kMaxGroups), rows, 1, mThreadGroupSize, 1, 1);
}
