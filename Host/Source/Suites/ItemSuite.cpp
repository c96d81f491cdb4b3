#include <cstdio>

#include "NimbrelHost/Support/Text.h"
#include "Suites/SuiteSupport.h"

namespace nimbrel::host {
namespace {

bool IsProject(Host& host, AEGP_ProjectH project) {
    return static_cast<const void*>(project) == static_cast<const void*>(&host.GetProject());
}

// The walk begins with the root folder, which is an item like the others.
A_Err GetFirstProjItem(Host& host, AEGP_ProjectH project, AEGP_ItemH* item) {
    if (!IsProject(host, project) || item == nullptr) return A_Err_PARAMETER;
    *item = ToHandle(host.GetProject().GetRoot());
    return A_Err_NONE;
}

// Ends with a null item and no error; an item that isn't the project's is an error.
A_Err GetNextProjItem(Host& host, AEGP_ProjectH project, AEGP_ItemH handle, AEGP_ItemH* next) {
    if (!IsProject(host, project) || next == nullptr) return A_Err_PARAMETER;
    const auto& items = host.GetProject().GetItems();
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (ToHandle(items[i].get()) != handle) continue;
        *next = i + 1 < items.size() ? ToHandle(items[i + 1].get()) : nullptr;
        return A_Err_NONE;
    }
    return A_Err_PARAMETER;
}

A_Err GetItemType(Host& host, AEGP_ItemH handle, A_short* type) {
    const Item* const item = ToItem(host, handle);
    if (item == nullptr || type == nullptr) return A_Err_PARAMETER;
    switch (item->mKind) {
        case Item::Kind::Folder: *type = AEGP_ItemType_FOLDER; break;
        case Item::Kind::Composition: *type = AEGP_ItemType_COMP; break;
        case Item::Kind::Footage: *type = AEGP_ItemType_FOOTAGE; break;
    }
    return A_Err_NONE;
}

A_Err GetItemName(Host& host, AEGP_PluginID, AEGP_ItemH handle, AEGP_MemHandle* name) {
    const Item* const item = ToItem(host, handle);
    if (item == nullptr || name == nullptr) return A_Err_PARAMETER;
    *name = NewTextHandle(host, item->mName);
    return *name == nullptr ? A_Err_ALLOC : A_Err_NONE;
}

A_Err GetNarrowItemName(Host& host, AEGP_ItemH handle, A_char* name) {
    const Item* const item = ToItem(host, handle);
    if (item == nullptr || name == nullptr) return A_Err_PARAMETER;
    std::snprintf(name, 32, "%s", item->mName.c_str());  // the interface's length of item names
    return A_Err_NONE;
}

A_Err GetItemID(Host& host, AEGP_ItemH handle, A_long* id) {
    const Item* const item = ToItem(host, handle);
    if (item == nullptr || id == nullptr) return A_Err_PARAMETER;
    *id = item->mId;
    return A_Err_NONE;
}

// The root has no parent: a null item.
A_Err GetItemParentFolder(Host& host, AEGP_ItemH handle, AEGP_ItemH* parent) {
    const Item* const item = ToItem(host, handle);
    if (item == nullptr || parent == nullptr) return A_Err_PARAMETER;
    *parent = ToHandle(item->mParent);
    return A_Err_NONE;
}

// Two folders may have one name, as in any project.
A_Err AddFolder(Host& host, const std::string& name, AEGP_ItemH parentHandle, AEGP_ItemH* folder) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    Item* const parent = parentHandle == nullptr ? host.GetProject().GetRoot() : ToItem(host, parentHandle);
    if (parent == nullptr || parent->mKind != Item::Kind::Folder || folder == nullptr) return A_Err_PARAMETER;
    BeforeChange(host).KeepLists();
    *folder = ToHandle(host.GetProject().AddFolder(name, parent));
    return A_Err_NONE;
}

A_Err CreateNewFolder(Host& host, const A_UTF16Char* name, AEGP_ItemH parent, AEGP_ItemH* folder) {
    return name == nullptr ? A_Err_PARAMETER : AddFolder(host, ToUtf8(name), parent, folder);
}

A_Err CreateNarrowFolder(Host& host, const A_char* name, AEGP_ItemH parent, AEGP_ItemH* folder) {
    return name == nullptr ? A_Err_PARAMETER : AddFolder(host, name, parent, folder);
}

// Both versions serve the same functions; only texts are wide in one and narrow in the other.
template <class Table>
void FillItemTable(Table& table) {
    NIMBREL_SERVE(table, AEGP_GetFirstProjItem, GetFirstProjItem);
    NIMBREL_SERVE(table, AEGP_GetNextProjItem, GetNextProjItem);
    NIMBREL_SERVE(table, AEGP_GetItemType, GetItemType);
    NIMBREL_SERVE(table, AEGP_GetItemID, GetItemID);
    NIMBREL_SERVE(table, AEGP_GetItemParentFolder, GetItemParentFolder);
}

}  // namespace

void AddItemSuites(SuiteRegistry& suites) {
    static const AEGP_ItemSuite9 suite9 = [] {
        auto table = MakeTable<AEGP_ItemSuite9>(kAEGPItemSuite);
        FillItemTable(table);
        NIMBREL_SERVE(table, AEGP_GetItemName, GetItemName);
        NIMBREL_SERVE(table, AEGP_CreateNewFolder, CreateNewFolder);
        return table;
    }();
    static const AEGP_ItemSuite6 suite6 = [] {
        auto table = MakeTable<AEGP_ItemSuite6>(kAEGPItemSuite);
        FillItemTable(table);
        NIMBREL_SERVE(table, AEGP_GetItemName, GetNarrowItemName);
        NIMBREL_SERVE(table, AEGP_CreateNewFolder, CreateNarrowFolder);
        return table;
    }();
    suites.Add(kAEGPItemSuite, kAEGPItemSuiteVersion9, &suite9);
    suites.Add(kAEGPItemSuite, kAEGPItemSuiteVersion6, &suite6);
}

}  // namespace nimbrel::host
