#pragma once

#include <nlohmann/json.hpp>

#include "PluginBase/PluginBaseCommon.h"

/// The frame with a host and an effect that do nothing but what a test sets.
class TestPlugin : public zeb::PluginBaseCommon {
public:
    bool NeedCamera() const override { return mNeedCamera; }
    zeb::render::Format GetPluginRenderFormat(zeb::PixelChannels, zeb::ChannelFormat) const override {
        return mPluginFormat;
    }
    void Draw(zeb::UniquePtr<zeb::render::CommandList>&, zeb::render::Device&, const zeb::DrawInfo& drawInfo,
              zeb::render::Texture& target) override {
        mTiles.push_back(drawInfo);
        mTargets.push_back(target.GetName());
        if (mFails) throw std::runtime_error("cannot draw");
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
    zeb::render::Format mPluginFormat = zeb::render::Format::RGBA8Unorm;
    std::vector<std::byte> mBinary;
    std::vector<zeb::DrawInfo> mTiles;
    std::vector<std::string> mTargets;

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
