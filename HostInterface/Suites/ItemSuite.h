#pragma once

#include "HostInterface/AEGP.h"

// Items of the project panel. Version 6 differs in its narrow texts.

extern "C" {

#define kAEGPItemSuite "AEGP Item Suite"
#define kAEGPItemSuiteVersion9 14

struct AEGP_ItemSuite9 {
    A_Err (*AEGP_GetFirstProjItem)(AEGP_ProjectH, AEGP_ItemH*);
    A_Err (*AEGP_GetNextProjItem)(AEGP_ProjectH, AEGP_ItemH, AEGP_ItemH*);  // null after the last
    A_Err (*AEGP_GetActiveItem)(AEGP_ItemH*);
    A_Err (*AEGP_IsItemSelected)(AEGP_ItemH, A_Boolean* selected);
    A_Err (*AEGP_SelectItem)(AEGP_ItemH, A_Boolean select, A_Boolean deselect_others);
    A_Err (*AEGP_GetItemType)(AEGP_ItemH, A_short* item_type);
    A_Err (*AEGP_GetTypeName)(A_short item_type, A_char* name);
    A_Err (*AEGP_GetItemName)(AEGP_PluginID plugin_id, AEGP_ItemH, AEGP_MemHandle*);
    A_Err (*AEGP_SetItemName)(AEGP_ItemH, const A_UTF16Char* name);
    A_Err (*AEGP_GetItemID)(AEGP_ItemH, A_long* item_id);
    A_Err (*AEGP_GetItemFlags)(AEGP_ItemH, A_long* item_flags);
    A_Err (*AEGP_SetItemUseProxy)(AEGP_ItemH, A_Boolean use_proxy);
    A_Err (*AEGP_GetItemParentFolder)(AEGP_ItemH, AEGP_ItemH*);
    A_Err (*AEGP_SetItemParentFolder)(AEGP_ItemH, AEGP_ItemH);
    A_Err (*AEGP_GetItemDuration)(AEGP_ItemH, A_Time*);
    A_Err (*AEGP_GetItemCurrentTime)(AEGP_ItemH, A_Time*);
    A_Err (*AEGP_GetItemDimensions)(AEGP_ItemH, A_long* width, A_long* height);
    A_Err (*AEGP_GetItemPixelAspectRatio)(AEGP_ItemH, A_Ratio*);
    A_Err (*AEGP_DeleteItem)(AEGP_ItemH);
    A_Err (*AEGP_CreateNewFolder)(const A_UTF16Char* name, AEGP_ItemH, AEGP_ItemH*);  // null parent = root
    A_Err (*AEGP_SetItemCurrentTime)(AEGP_ItemH, const A_Time*);
    A_Err (*AEGP_GetItemComment)(AEGP_ItemH, AEGP_MemHandle*);
    A_Err (*AEGP_SetItemComment)(AEGP_ItemH, const A_UTF16Char* comment);
    A_Err (*AEGP_GetItemLabel)(AEGP_ItemH, A_char* label);
    A_Err (*AEGP_SetItemLabel)(AEGP_ItemH, A_char label);
    A_Err (*AEGP_GetItemMRUView)(AEGP_ItemH, AEGP_ItemViewP*);
};
NIMBREL_SLOTS(AEGP_ItemSuite9, 26);
NIMBREL_SLOT(AEGP_ItemSuite9, 0, AEGP_GetFirstProjItem);
NIMBREL_SLOT(AEGP_ItemSuite9, 1, AEGP_GetNextProjItem);
NIMBREL_SLOT(AEGP_ItemSuite9, 5, AEGP_GetItemType);
NIMBREL_SLOT(AEGP_ItemSuite9, 7, AEGP_GetItemName);
NIMBREL_SLOT(AEGP_ItemSuite9, 12, AEGP_GetItemParentFolder);
NIMBREL_SLOT(AEGP_ItemSuite9, 19, AEGP_CreateNewFolder);
NIMBREL_SLOT(AEGP_ItemSuite9, 25, AEGP_GetItemMRUView);

#define kAEGPItemSuiteVersion6 10

struct AEGP_ItemSuite6 {
    A_Err (*AEGP_GetFirstProjItem)(AEGP_ProjectH, AEGP_ItemH*);
    A_Err (*AEGP_GetNextProjItem)(AEGP_ProjectH, AEGP_ItemH, AEGP_ItemH*);  // null after the last
    A_Err (*AEGP_GetActiveItem)(AEGP_ItemH*);
    A_Err (*AEGP_IsItemSelected)(AEGP_ItemH, A_Boolean* selected);
    A_Err (*AEGP_SelectItem)(AEGP_ItemH, A_Boolean select, A_Boolean deselect_others);
    A_Err (*AEGP_GetItemType)(AEGP_ItemH, A_short* item_type);
    A_Err (*AEGP_GetTypeName)(A_short item_type, A_char* name);
    A_Err (*AEGP_GetItemName)(AEGP_ItemH, A_char* name);
    A_Err (*AEGP_SetItemName)(AEGP_ItemH, const A_char* name);
    A_Err (*AEGP_GetItemID)(AEGP_ItemH, A_long* item_id);
    A_Err (*AEGP_GetItemFlags)(AEGP_ItemH, A_long* item_flags);
    A_Err (*AEGP_SetItemUseProxy)(AEGP_ItemH, A_Boolean use_proxy);
    A_Err (*AEGP_GetItemParentFolder)(AEGP_ItemH, AEGP_ItemH*);
    A_Err (*AEGP_SetItemParentFolder)(AEGP_ItemH, AEGP_ItemH);
    A_Err (*AEGP_GetItemDuration)(AEGP_ItemH, A_Time*);
    A_Err (*AEGP_GetItemCurrentTime)(AEGP_ItemH, A_Time*);
    A_Err (*AEGP_GetItemDimensions)(AEGP_ItemH, A_long* width, A_long* height);
    A_Err (*AEGP_GetItemPixelAspectRatio)(AEGP_ItemH, A_Ratio*);
    A_Err (*AEGP_DeleteItem)(AEGP_ItemH);
    A_Err (*AEGP_CreateNewFolder)(const A_char* name, AEGP_ItemH, AEGP_ItemH*);  // null parent = root
    A_Err (*AEGP_SetItemCurrentTime)(AEGP_ItemH, const A_Time*);
    A_Err (*AEGP_GetItemCommentLength)(AEGP_ItemH, A_u_long* buf_size);
    A_Err (*AEGP_GetItemComment)(AEGP_ItemH, A_u_long buf_size, A_char* comment);
    A_Err (*AEGP_SetItemComment)(AEGP_ItemH, const A_char* comment);
    A_Err (*AEGP_GetItemLabel)(AEGP_ItemH, A_char* label);
    A_Err (*AEGP_SetItemLabel)(AEGP_ItemH, A_char label);
};
NIMBREL_SLOTS(AEGP_ItemSuite6, 26);
NIMBREL_SLOT(AEGP_ItemSuite6, 0, AEGP_GetFirstProjItem);
NIMBREL_SLOT(AEGP_ItemSuite6, 1, AEGP_GetNextProjItem);
NIMBREL_SLOT(AEGP_ItemSuite6, 5, AEGP_GetItemType);
NIMBREL_SLOT(AEGP_ItemSuite6, 7, AEGP_GetItemName);
NIMBREL_SLOT(AEGP_ItemSuite6, 12, AEGP_GetItemParentFolder);
NIMBREL_SLOT(AEGP_ItemSuite6, 19, AEGP_CreateNewFolder);
NIMBREL_SLOT(AEGP_ItemSuite6, 25, AEGP_SetItemLabel);

}  // extern "C"
