#include "ParametersManager.h"

#include <new>
#include <utility>

#include <fmt/format.h>

#include "Catalogue/Catalogue.h"
#include "ModelInfo.h"
#include "ModelSettingsClipboard.h"
#include "Nimbrel/PLYFileReader.h"
#include "NullObjectLink.h"
#include "Plugin.h"
#include "PluginBase/AE/TextAE.h"
#include "PluginBase/Exception.h"

namespace {

constexpr std::int32_t kModelInfoEntry = Plugin::kFilePathEntry + 1;
constexpr std::int32_t kCreateNullEntry = 130;
constexpr std::int32_t kUnlinkNullEntry = 131;
constexpr std::int32_t kCopyEntry = 143;
constexpr std::int32_t kPasteEntry = 144;
constexpr std::int32_t kResetEntry = 145;
constexpr std::int32_t kCaptureGAPICallsIndex = 750;
constexpr std::int32_t kCaptureRenderStateIndex = 751;
constexpr std::int32_t kWarning = 1;

std::int32_t GetSlot(std::int32_t index) { return index / Plugin::kSlotEntries; }

}  // namespace

ParametersManager::ParametersManager(zeb::ParametersManagerOptions options, Plugin& plugin,
                                     std::unique_ptr<Clipboard> clipboard)
    : ParametersManagerBase(std::move(options)), mPlugin(plugin), mClipboard(std::move(clipboard)) {}

std::string_view ParametersManager::GetDescriptionText() const { return GetCatalogueText(); }

ParametersManager::Handler ParametersManager::FindHandler(std::int32_t index) {
    struct Row {
        std::int32_t mIndex;
        Handler mHandler;
    };
    // Entries of a slot, from its first; then entries of the whole catalogue.
    static constexpr Row kSlotHandlers[] = {
        {Plugin::kFilePathEntry, &ParametersManager::OnModelFileChanged},
        {kModelInfoEntry, &ParametersManager::ShowModelInfo},
        {kCreateNullEntry, &ParametersManager::LinkNullObject},
        {kUnlinkNullEntry, &ParametersManager::UnlinkNullObject},
        {kCopyEntry, &ParametersManager::CopySettings},
        {kPasteEntry, &ParametersManager::PasteSettings},
        {kResetEntry, &ParametersManager::ResetSettings},
    };
    static constexpr Row kHandlers[] = {
        {kCaptureGAPICallsIndex, &ParametersManager::CaptureGAPICalls},
        {kCaptureRenderStateIndex, &ParametersManager::CaptureRenderState},
    };
    if (index >= 0 && index < Plugin::kSlotCount * Plugin::kSlotEntries) {
        for (const Row& row : kSlotHandlers) {
            if (row.mIndex == index % Plugin::kSlotEntries) return row.mHandler;
        }
        return nullptr;
    }
    for (const Row& row : kHandlers) {
        if (row.mIndex == index) return row.mHandler;
    }
    return nullptr;
}

void ParametersManager::OnParameterChanged(const zeb::ParameterCurrentValueGetter& getter,
                                           zeb::ParameterValueSetter& setter, std::int32_t index) {
    ParametersManagerBase::OnParameterChanged(getter, setter, index);
    if (const Handler handler = FindHandler(index)) (this->*handler)(getter, setter, index);
}

void ParametersManager::OnModelFileChanged(const zeb::ParameterCurrentValueGetter& getter,
                                           zeb::ParameterValueSetter& setter, std::int32_t index) {
    const std::u16string path = getter.GetString(index);
    if (path.empty()) {
        setter.ClearString(index);
        return;
    }
    const GaussianSplatAssetCreator::Settings settings = MakeModelSettings();
    if (mPlugin.IsAssetCached(path, settings)) return;
    try {
        GaussianSplatAssetCreator::CreateAsset(path, settings, true);
    } catch (const PLYFileReader::LoadModelException& exception) {
        setter.ClearString(index);
        mPlugin.ShowMessage(
            fmt::format("Failed to load model \"{}\" with error: \"{}\"", zeb::ToUtf8(path), exception.message),
            kWarning);
    } catch (const std::bad_alloc&) {
        ZEB_THROW(PF_Err_OUT_OF_MEMORY,
                  fmt::format("There is not enough memory to load model \"{}\"", zeb::ToUtf8(path)));
    }
}

void ParametersManager::ShowModelInfo(const zeb::ParameterCurrentValueGetter& getter, zeb::ParameterValueSetter&,
                                      std::int32_t index) {
    const std::int32_t pathIndex = index - kModelInfoEntry + Plugin::kFilePathEntry;
    const std::u16string path = getter.GetString(pathIndex);
    std::string renderInfo;
    mPlugin.GetRenderInfo(renderInfo);
    const std::string text =
        path.empty() ? fmt::format(
                           "Please import a ply file, add it to a composition and select in popup \"{}\" to apply a "
                           "model.\n\nRender Info:\n{}",
                           getter.GetDescription(pathIndex).mFullName, renderInfo)
                     : FormatModelInfo(zeb::ToUtf8(path), *mPlugin.GetAsset(path, MakeModelSettings()), renderInfo);
    mPlugin.ShowTextDialog(text, "Model Info");
}

void ParametersManager::LinkNullObject(const zeb::ParameterCurrentValueGetter& getter,
                                       zeb::ParameterValueSetter& setter, std::int32_t index) {
    null_object::Link(getter, setter, GetSlot(index));
}

void ParametersManager::UnlinkNullObject(const zeb::ParameterCurrentValueGetter& getter, zeb::ParameterValueSetter&,
                                         std::int32_t index) {
    null_object::Unlink(getter, GetSlot(index));
}

void ParametersManager::CopySettings(const zeb::ParameterCurrentValueGetter&, zeb::ParameterValueSetter&,
                                     std::int32_t index) {
    model_settings::Copy(mPlugin, *mClipboard, GetSlot(index));
}

void ParametersManager::PasteSettings(const zeb::ParameterCurrentValueGetter&, zeb::ParameterValueSetter&,
                                      std::int32_t index) {
    model_settings::Paste(mPlugin, *mClipboard, GetSlot(index));
}

void ParametersManager::ResetSettings(const zeb::ParameterCurrentValueGetter&, zeb::ParameterValueSetter&,
                                      std::int32_t index) {
    model_settings::Reset(mPlugin, GetSlot(index));
}

void ParametersManager::CaptureGAPICalls(const zeb::ParameterCurrentValueGetter&, zeb::ParameterValueSetter&,
                                         std::int32_t) {
    mPlugin.RequestCaptureGAPICalls();
}

void ParametersManager::CaptureRenderState(const zeb::ParameterCurrentValueGetter&, zeb::ParameterValueSetter&,
                                           std::int32_t) {
    mPlugin.RequestCaptureRenderState();
}
