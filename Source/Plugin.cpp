#include "Plugin.h"

#include <algorithm>
#include <new>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Catalogue/Catalogue.h"
#include "Clipboard.h"
#include "ModelList.h"
#include "Nimbrel/CPU/Programs/RegisterCpuPrograms.h"
#include "ParametersManager.h"
#include "PluginBase/AE/ArbHandlerAE.h"
#include "PluginBase/AE/ComputeCacheAE.h"
#include "PluginBase/AE/TextAE.h"
#include "PluginBase/Misc/UserFolders.h"
#include "Render.h"
#include "Shaders/RegisterShaders.h"

zeb::UniquePtr<zeb::PluginBaseAE> zeb::CreatePlugin() { return MakeUnique<Plugin>(); }

void Plugin::Init() {
    nimbrel::RegisterShaders();
    nimbrel::RegisterCpuPrograms();
    PluginBaseAE::Init();
    mComputeCache = zeb::CreateComputeCache();
    mComputeCache->RegisterCacheable(zeb::MakeUnique<zeb::CacheableCreator<CacheableAsset>>());
}

void Plugin::Deinit() {
    mComputeCache.reset();
    PluginBaseAE::Deinit();
}

zeb::render::Format Plugin::GetPluginRenderFormat(zeb::PixelChannels, zeb::ChannelFormat format) const {
    switch (format) {
        case zeb::ChannelFormat::U8: return zeb::render::Format::RGBA8Unorm;
        case zeb::ChannelFormat::U16: return zeb::render::Format::RGBA16Unorm;
        case zeb::ChannelFormat::F16: return zeb::render::Format::RGBA16Float;
        default: return zeb::render::Format::RGBA32Float;  // the host's 16 bits as well: blending needs more
    }
}

void Plugin::Draw(zeb::UniquePtr<zeb::render::CommandList>& result, zeb::render::Device& device,
                  const zeb::DrawInfo& drawInfo, zeb::render::Texture& target) {
    // A camera that cannot be inverted sees nothing, as one that looks along a layer's edge.
    if (drawInfo.mCamera == glm::mat4(0.0F)) return;
    const ModelList models = ModelList::Load(*this, drawInfo);
    result = Render(device, drawInfo, models.GetGroups(), target);
    models.EndProgress(*this);
}

zeb::DrawExtent Plugin::GetDrawExtent(const nlohmann::json&) { return {zeb::DrawExtent::Mode::FullLayer, {}}; }

nlohmann::json Plugin::MakePreDrawState(const zeb::ParameterCurrentValueGetter&) { return nullptr; }

nlohmann::json Plugin::MakeDrawState(const zeb::ParameterCurrentValueGetter& getter) {
    nlohmann::json state = nlohmann::json::object();
    for (std::int32_t slot = 0; slot < kSlotCount; ++slot)
        state[fmt::format("Model{}", slot + 1)] = zeb::ToUtf8(getter.GetString(slot * kSlotEntries + kFilePathEntry));
    return state;
}

zeb::render::RenderOptions Plugin::GetRenderOptions() {
    zeb::render::RenderOptions options;
    options.mShaderListFile = "Shaders.yaml";
    options.mShaderFolders = {"Shaders/", "plugin-base/Shaders/"};
    options.mHeapSizes = {1024, 32, 128};
    const std::filesystem::path cache = zeb::GetUserCacheFolder();
    if (!cache.empty()) options.mPipelineCacheFolder = cache / "nimbrel";
    return options;
}

PF_OutFlags Plugin::GetOutFlags() const { return kOutFlags; }
PF_OutFlags2 Plugin::GetOutFlags2() const { return kOutFlags2; }

std::u16string Plugin::GetImportFolderName(const std::u16string&) const { return u"Nimbrel Models"; }

zeb::ComputeCacheResult<CacheableAsset> Plugin::GetAsset(const std::u16string& path,
                                                         const GaussianSplatAssetCreator::Settings& settings) {
    CacheableAsset::Options options;
    options.path = path;
    options.settings = settings;
    try {
        return zeb::ComputeCacheResult<CacheableAsset>(
            mComputeCache->DoComputeIfNeededAndCheckout(kModelCacheName, options));
    } catch (const std::bad_alloc&) {
        ZEB_THROW(PF_Err_OUT_OF_MEMORY,
                  fmt::format("\"{}\": There is not enough memory to load it", zeb::ToUtf8(path)));
    }
}

bool Plugin::IsAssetCached(const std::u16string& path, const GaussianSplatAssetCreator::Settings& settings) {
    CacheableAsset::Options options;
    options.path = path;
    options.settings = settings;
    return mComputeCache->DoHasValue(kModelCacheName, options);
}

zeb::UniquePtr<zeb::ParametersManagerBase> Plugin::CreateParametersManager() {
    zeb::ParametersManagerOptions options;
    options.mTextFileLoader = &GetTextFileLoader();
    options.mUsesInteractColorPicker = UsesInteractColorPicker();
    options.mColorPickerDialog = [this](const std::string& title, const glm::vec4& color) {
        return ColorPickerDialog(title, color);
    };
    options.mCompleteCustomSettings = zeb::CompleteCustomSettingsAE;
    return zeb::MakeUnique<ParametersManager>(std::move(options), *this, MakeClipboard());
}

zeb::UniquePtr<zeb::TextFileLoader> Plugin::CreateTextFileLoader() { return MakeTextFileLoader(); }
