#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Nimbrel/CacheableAsset.h"
#include "OutFlags.h"
#include "PluginBase/AE/PluginBaseAE.h"
#include "PluginBase/ComputeCache/ComputeCacheBase.h"

/// The effect: up to five models of Gaussian splats through the composition's camera. It keeps nothing
/// of a frame; all that a frame needs comes in its state, so render threads share the one object.
class Plugin : public zeb::PluginBaseAE {
public:
    static constexpr std::int32_t kSlotCount = 5;
    /// Catalogue entries of one slot; slot `k` (from 0) begins at k times that.
    static constexpr std::int32_t kSlotEntries = 148;
    /// The slot's FilePath, from the slot's first entry.
    static constexpr std::int32_t kFilePathEntry = 2;

    void Init() override;
    void Deinit() override;

    bool NeedCamera() const override { return true; }
    zeb::render::Format GetPluginRenderFormat(zeb::PixelChannels channels, zeb::ChannelFormat format) const override;
    /// Loads, on this thread, what the cache lacks of the shown models, telling the host its progress.
    /// Throws naming the path when a model cannot be read.
    void Draw(zeb::UniquePtr<zeb::render::CommandList>& result, zeb::render::Device& device,
              const zeb::DrawInfo& drawInfo, zeb::render::Texture& target) override;
    zeb::DrawExtent GetDrawExtent(const nlohmann::json& preDrawState) override;
    nlohmann::json MakePreDrawState(const zeb::ParameterCurrentValueGetter& getter) override;
    /// Keys "Model1" to "Model5": the slots' paths as UTF-8, empty without a file.
    nlohmann::json MakeDrawState(const zeb::ParameterCurrentValueGetter& getter) override;
    zeb::render::RenderOptions GetRenderOptions() override;

    PF_OutFlags GetOutFlags() const override;
    PF_OutFlags2 GetOutFlags2() const override;
    std::u16string GetImportFolderName(const std::u16string& path) const override;
    bool IsBeta() const override { return kIsBeta; }

    // Sequence data holds no settings: the host has them all in its parameters.
    void SequenceSetup() override;
    void SequenceSetdown() override;
    void GetFlattenedSequenceData() override;
    void SequenceFlatten() override;
    void SequenceResetup() override;

    /// The model of a file, checked out; loads it when the cache lacks it. Throws naming the path for lack of memory.
    /// Inside a host command.
    zeb::ComputeCacheResult<CacheableAsset> GetAsset(const std::u16string& path,
                                                     const GaussianSplatAssetCreator::Settings& settings);
    bool IsAssetCached(const std::u16string& path, const GaussianSplatAssetCreator::Settings& settings);

protected:
    zeb::UniquePtr<zeb::ParametersManagerBase> CreateParametersManager() override;
    zeb::UniquePtr<zeb::TextFileLoader> CreateTextFileLoader() override;

private:
    zeb::UniquePtr<zeb::ComputeCacheBase> mComputeCache;
};
