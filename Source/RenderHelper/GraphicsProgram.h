#pragma once

#include <string>
#include <utility>

#include "PluginBase/Render/Device.h"
#include "PluginBase/RenderUtils/MultiformatGraphicsPipelineState.h"

/// One graphics program: its stages, its root signature, and its pipelines by target format. The root
/// signature's parameters are added, in the order of their numbers, before the first use.
class GraphicsProgram {
public:
    /// `description` gives blending and the like; its stages and root signature are filled in here.
    GraphicsProgram(zeb::render::Device& device, const std::string& name,
                    zeb::render::GraphicsPipelineDescription description)
        : mLibrary(device.CreateShaderLibraryFromEmbeddedData(name)),
          mVertexShader(mLibrary->GetShader(zeb::render::ShaderType::Vertex)),
          mPixelShader(mLibrary->GetShader(zeb::render::ShaderType::Pixel)),
          mRootSignature(device.CreateRootSignature(name)),
          mPipelineStates(device, name, Complete(std::move(description))) {}

    zeb::render::RootSignature& GetRootSignature() { return *mRootSignature; }

    /// Sets root signature and the pipeline for a target of `format`; bindings come after it.
    void Use(zeb::render::GraphicsCommandEncoder& encoder, zeb::render::Format format) {
        encoder.SetRootSignature(*mRootSignature);
        encoder.SetPipelineState(mPipelineStates.Get(format));
    }

private:
    zeb::render::GraphicsPipelineDescription Complete(zeb::render::GraphicsPipelineDescription description) {
        description.mRootSignature = mRootSignature.get();
        description.mVertexShader = mVertexShader.get();
        description.mPixelShader = mPixelShader.get();
        return description;
    }

    zeb::UniquePtr<zeb::render::ShaderLibrary> mLibrary;
    zeb::UniquePtr<zeb::render::Shader> mVertexShader;
    zeb::UniquePtr<zeb::render::Shader> mPixelShader;
    zeb::UniquePtr<zeb::render::RootSignature> mRootSignature;
    zeb::render::MultiformatGraphicsPipelineState mPipelineStates;
};
