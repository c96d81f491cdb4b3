#pragma once

#include <nlohmann/json.hpp>

#include "PluginBase/PluginBaseCommon.h"
#include "PluginBase/Render/Render.h"

/// The processor as a device.
inline zeb::UniquePtr<zeb::render::Render> MakeCpuRender() {
    zeb::render::RenderOptions options;
    options.mRequestedDevice = "cpu";
    return zeb::render::Render::Create(0, options);
}

/// The frame with a host and an effect that do nothing but what a test sets.
class TestPlugin : public zeb::PluginBaseCommon {
public:
    bool NeedCamera() const override { return mNeedCamera; }
    zeb::render::Format GetPluginRenderFormat(zeb::PixelChannels, zeb::ChannelFormat) const override {
        return zeb::render::Format::RGBA8Unorm;
    }
    /// The pixel's column, row and five times the one and three times the other, counted in the frame.
    void Draw(zeb::UniquePtr<zeb::render::CommandList>& list, zeb::render::Device& device,
              const zeb::DrawInfo& drawInfo, zeb::render::Texture& target) override {
        using namespace zeb::render;
        mTiles.push_back(drawInfo);
        if (mFails) throw std::runtime_error("cannot draw");
        const std::uint32_t width = drawInfo.mOutputWidth;
        const std::uint64_t size = std::uint64_t{4} * width * drawInfo.mOutputHeight;
        mPixels = device.CreateBuffer("Pixels", size, MemoryKind::Upload, BufferState::GenericRead, {});
        std::byte* const bytes = mPixels->Map(0, 0);
        for (std::uint64_t i = 0; i < size; ++i) {
            const std::uint64_t x = drawInfo.mPivotX + i / 4 % width;
            const std::uint64_t y = drawInfo.mPivotY + i / 4 / width;
            const std::uint64_t rgba[] = {x, y, 5 * x + 3 * y, 255};
            bytes[i] = static_cast<std::byte>(rgba[i % 4]);
        }
        mPixels->Unmap();
        list = device.GetThreadData().mCommandQueue->CreateCommandList("Draw");
        list->SetDescriptorHeaps(*device.GetThreadData().mShaderResourceHeap, nullptr);
        const auto encoder = list->CreateCopyCommandEncoder();
        encoder->TextureTransitionBarrier(target, TextureState::CopyDestination);
        encoder->CopyToTextureFromBuffer(target, {0, 0, width, drawInfo.mOutputHeight}, *mPixels, 0, 4 * width);
        encoder->TextureTransitionBarrier(target, TextureState::RenderTarget);
        encoder->End();
    }
    zeb::DrawExtent GetDrawExtent(const nlohmann::json&) override { return {}; }
    nlohmann::json MakePreDrawState(const zeb::ParameterCurrentValueGetter&) override { return nullptr; }
    nlohmann::json MakeDrawState(const zeb::ParameterCurrentValueGetter&) override {
        return {{"Model1", "/\u00e4.ply"}, {"Model2", ""}};
    }
    void MakeDrawBinaryState(const zeb::ParameterCurrentValueGetter&, std::vector<std::byte>& bytes) override {
        bytes.insert(bytes.end(), mBinary.begin(), mBinary.end());
    }
    zeb::render::RenderOptions GetRenderOptions() override { return {}; }
    void GetRenderInfo(std::string&) const override {}
    zeb::CameraInfo GetCamera() override { return mCamera; }
    nlohmann::json GetParameterValues(std::int32_t) override { return {}; }
    void ResetValues(std::int32_t) override {}
    void LoadValues(const nlohmann::json&) override {}
    void ShowMessage(const std::string&, std::int32_t) override {}
    bool ShowTextDialog(const std::string&, const std::string&) override { return true; }
    void StartUndoGroup(const std::string&) override {}
    void EndUndoGroup() override {}
    void ProgressUpdate(std::int32_t, std::int32_t) override {}
    void RedrawRequest() override {}
    glm::vec4 ColorPickerDialog(const std::string&, const glm::vec4& color) override { return color; }

    bool mNeedCamera = true;
    bool mFails = false;
    zeb::CameraInfo mCamera;
    std::vector<std::byte> mBinary;
    std::vector<zeb::DrawInfo> mTiles;
    zeb::UniquePtr<zeb::render::Buffer> mPixels;  ///< of the last tile

protected:
    zeb::UniquePtr<zeb::ParametersManagerBase> CreateParametersManager() override { return {}; }
    zeb::UniquePtr<zeb::TextFileLoader> CreateTextFileLoader() override { return {}; }
};

/// A manager without parameters, for getters that nobody asks.
class EmptyManager final : public zeb::ParametersManagerBase {
public:
    EmptyManager() : ParametersManagerBase({}) {}
    std::string_view GetDescriptionText() const override { return "{}"; }
};
