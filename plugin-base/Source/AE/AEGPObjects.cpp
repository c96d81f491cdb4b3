#include "PluginBase/AE/AEGPObjects.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "PluginBase/AE/TextAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"

namespace zeb::AEGP {
namespace {

std::atomic<AEGP_PluginID> sPluginId{0};

/// Runs a disposal whose failure can only be told, not thrown.
template <class Function>
void Dispose(const char* what, Function&& function) noexcept {
    try {
        if (function() != 0) ReportCleanupFailure(what);
    } catch (const std::exception& exception) {
        ReportCleanupFailure(exception.what());
    }
}

}  // namespace

AEGP_PluginID GetPluginId() { return sPluginId; }
void SetPluginId(AEGP_PluginID id) { sPluginId = id; }

SuiteTableAE& Object::GetSuites() { return AEGPSuites(); }

// ---- MemHandle ----

MemHandle::~MemHandle() {
    if (mMemHandle == nullptr) return;
    Dispose("Failed to free a memory handle", [this] {
        const AEGP_MemorySuite1* suite = GetSuites().MemorySuite1();
        const A_Err unlocked = mPtr == nullptr ? A_Err_NONE : suite->AEGP_UnlockMemHandle(mMemHandle);
        const A_Err freed = suite->AEGP_FreeMemHandle(mMemHandle);
        return unlocked != 0 ? unlocked : freed;
    });
}

const void* MemHandle::GetPtr() {
    if (mMemHandle != nullptr && mPtr == nullptr)
        ZEB_CHECK(GetSuites().MemorySuite1()->AEGP_LockMemHandle(mMemHandle, &mPtr));
    return mPtr;
}

std::uint32_t MemHandle::GetSize() const {
    if (mMemHandle == nullptr) return 0;
    AEGP_MemSize size = 0;
    ZEB_CHECK(GetSuites().MemorySuite1()->AEGP_GetMemHandleSize(mMemHandle, &size));
    return size;
}

std::u16string MemHandle::GetText() {
    const auto* bytes = static_cast<const char*>(GetPtr());
    if (bytes == nullptr) return {};
    std::u16string text(GetSize() / sizeof(char16_t), u'\0');
    std::memcpy(text.data(), bytes, text.size() * sizeof(char16_t));
    text.resize(std::min(text.size(), text.find(u'\0')));
    return text;
}

std::string MemHandle::GetNarrowText() {
    const auto* bytes = static_cast<const char*>(GetPtr());
    if (bytes == nullptr) return {};
    const std::string_view text(bytes, GetSize());
    return std::string(text.substr(0, text.find('\0')));
}

// ---- Stream ----

StreamValue::~StreamValue() {
    Dispose("Failed to dispose of a stream value",
            [this] { return GetSuites().StreamSuite5()->AEGP_DisposeStreamValue(&mValue); });
}

Stream::~Stream() {
    if (mStreamHandle == nullptr) return;
    Dispose("Failed to dispose of a stream",
            [this] { return GetSuites().StreamSuite5()->AEGP_DisposeStream(mStreamHandle); });
}

AEGP_DynStreamFlags Stream::GetDynamicStreamFlags() const {
    AEGP_DynStreamFlags flags = 0;
    ZEB_CHECK(GetSuites().DynamicStreamSuite4()->AEGP_GetDynamicStreamFlags(mStreamHandle, &flags));
    return flags;
}

void Stream::SetDynamicStreamFlag(AEGP_DynStreamFlags flag, bool undoable, bool set) const {
    ZEB_CHECK(GetSuites().DynamicStreamSuite4()->AEGP_SetDynamicStreamFlag(mStreamHandle, flag, undoable, set));
}

StreamValue Stream::GetNewStreamValue(AEGP_LTimeMode timeMode, const A_Time& time, bool preExpression) const {
    AEGP_StreamValue2 value{};
    ZEB_CHECK(GetSuites().StreamSuite5()->AEGP_GetNewStreamValue(GetPluginId(), mStreamHandle, timeMode, &time,
                                                                 preExpression, &value));
    return StreamValue(value);
}

std::u16string Stream::GetStreamName() const {
    AEGP_MemHandle name = nullptr;
    ZEB_CHECK(GetSuites().StreamSuite5()->AEGP_GetStreamName(GetPluginId(), mStreamHandle, false, &name));
    return MemHandle(name).GetText();
}

void Stream::SetStreamName(const std::u16string& name) const {
    const auto text = ToHostText(name);
    ZEB_CHECK(GetSuites().DynamicStreamSuite4()->AEGP_SetStreamName(mStreamHandle, text.data()));
}

void Stream::SetExpression(const std::u16string& expression) const {
    const auto text = ToHostText(expression);
    ZEB_CHECK(GetSuites().StreamSuite5()->AEGP_SetExpression(GetPluginId(), mStreamHandle, text.data()));
}

void Stream::SetExpressionState(bool enabled) const {
    ZEB_CHECK(GetSuites().StreamSuite5()->AEGP_SetExpressionState(GetPluginId(), mStreamHandle, enabled));
}

void Stream::SetStreamVal(const AEGP_StreamVal2& val) const {
    AEGP_StreamValue2 value{};
    value.streamH = mStreamHandle;
    value.val = val;
    SetStreamValue(value);
}

void Stream::SetStreamValue(AEGP_StreamValue2& value) const {
    ZEB_CHECK(GetSuites().StreamSuite5()->AEGP_SetStreamValue(GetPluginId(), mStreamHandle, &value));
}

// ---- Footage ----

Footage::~Footage() {
    if (!mOwned || mFootageHandle == nullptr) return;
    Dispose("Failed to dispose of footage",
            [this] { return GetSuites().FootageSuite5()->AEGP_DisposeFootage(mFootageHandle); });
}

std::u16string Footage::GetFootagePath() const {
    AEGP_MemHandle path = nullptr;
    ZEB_CHECK(GetSuites().FootageSuite5()->AEGP_GetFootagePath(mFootageHandle, 0, AEGP_FOOTAGE_MAIN_FILE_INDEX, &path));
    return MemHandle(path).GetText();
}

// ---- Item ----

Item Item::AddFootageToProject(Footage& footage) const {
    AEGP_ItemH item = nullptr;
    ZEB_CHECK(GetSuites().FootageSuite5()->AEGP_AddFootageToProject(footage.GetHandle(), mItemHandle, &item));
    footage.Release();
    return Item(item);
}

Item Item::CreateNewFolder(const std::u16string& name) const {
    const auto text = ToHostText(name);
    AEGP_ItemH item = nullptr;
    ZEB_CHECK(GetSuites().ItemSuite9()->AEGP_CreateNewFolder(text.data(), mItemHandle, &item));
    return Item(item);
}

std::u16string Item::GetItemName() const {
    AEGP_MemHandle name = nullptr;
    ZEB_CHECK(GetSuites().ItemSuite9()->AEGP_GetItemName(GetPluginId(), mItemHandle, &name));
    return MemHandle(name).GetText();
}

Item Item::GetItemParentFolder() const {
    AEGP_ItemH item = nullptr;
    ZEB_CHECK(GetSuites().ItemSuite6()->AEGP_GetItemParentFolder(mItemHandle, &item));
    return Item(item);
}

AEGP_ItemType Item::GetItemType() const {
    AEGP_ItemType type = AEGP_ItemType_NONE;
    ZEB_CHECK(GetSuites().ItemSuite6()->AEGP_GetItemType(mItemHandle, &type));
    return type;
}

Footage Item::GetMainFootageFromItem() const {
    AEGP_FootageH footage = nullptr;
    ZEB_CHECK(GetSuites().FootageSuite5()->AEGP_GetMainFootageFromItem(mItemHandle, &footage));
    return Footage(footage, false);
}

// ---- Project ----

Item Project::GetFirstProjItem() const {
    AEGP_ItemH item = nullptr;
    ZEB_CHECK(GetSuites().ItemSuite6()->AEGP_GetFirstProjItem(mProjectHandle, &item));
    return Item(item);
}

Item Project::GetNextProjItem(const Item& item) const {
    AEGP_ItemH next = nullptr;
    ZEB_CHECK(GetSuites().ItemSuite6()->AEGP_GetNextProjItem(mProjectHandle, item.GetHandle(), &next));
    return Item(next);
}

Item Project::GetProjectRootFolder() const {
    AEGP_ItemH item = nullptr;
    ZEB_CHECK(GetSuites().ProjSuite6()->AEGP_GetProjectRootFolder(mProjectHandle, &item));
    return Item(item);
}

}  // namespace zeb::AEGP
