#pragma once

#include "HostInterface/AEGP.h"

// The tree of streams: visibility and names.

extern "C" {

#define kAEGPDynamicStreamSuite "AEGP Dynamic Stream Suite"
#define kAEGPDynamicStreamSuiteVersion4 5

struct AEGP_DynamicStreamSuite4 {
    A_Err (*AEGP_GetNewStreamRefForLayer)(AEGP_PluginID plugin_id, AEGP_LayerH, AEGP_StreamRefH*);
    A_Err (*AEGP_GetNewStreamRefForMask)(AEGP_PluginID plugin_id, AEGP_MaskRefH, AEGP_StreamRefH*);
    A_Err (*AEGP_GetStreamDepth)(AEGP_StreamRefH, A_long* depth);
    A_Err (*AEGP_GetStreamGroupingType)(AEGP_StreamRefH, A_long* group_type);
    A_Err (*AEGP_GetNumStreamsInGroup)(AEGP_StreamRefH, A_long* num_streams);
    A_Err (*AEGP_GetDynamicStreamFlags)(AEGP_StreamRefH, A_u_long* stream_flags);
    A_Err (*AEGP_SetDynamicStreamFlag)(AEGP_StreamRefH, A_u_long one_flag, A_Boolean undoable,
                                       A_Boolean set);  // with undoable 0 only HIDDEN is legal
    A_Err (*AEGP_GetNewStreamRefByIndex)(AEGP_PluginID plugin_id, AEGP_StreamRefH, A_long index, AEGP_StreamRefH*);
    A_Err (*AEGP_GetNewStreamRefByMatchname)(AEGP_PluginID plugin_id, AEGP_StreamRefH, const A_char* utf8_match_name,
                                             AEGP_StreamRefH*);
    A_Err (*AEGP_DeleteStream)(AEGP_StreamRefH);
    A_Err (*AEGP_ReorderStream)(AEGP_StreamRefH, A_long new_index);
    A_Err (*AEGP_DuplicateStream)(AEGP_PluginID plugin_id, AEGP_StreamRefH, A_long* new_index);
    A_Err (*AEGP_SetStreamName)(AEGP_StreamRefH, const A_UTF16Char* name);
    A_Err (*AEGP_CanAddStream)(AEGP_StreamRefH, const A_char* utf8_match_name, A_Boolean* can_add);
    A_Err (*AEGP_AddStream)(AEGP_PluginID plugin_id, AEGP_StreamRefH, const A_char* utf8_match_name, AEGP_StreamRefH*);
    A_Err (*AEGP_GetMatchName)(AEGP_StreamRefH, A_char* utf8_match_name);
    A_Err (*AEGP_GetNewParentStreamRef)(AEGP_PluginID plugin_id, AEGP_StreamRefH, AEGP_StreamRefH*);
    A_Err (*AEGP_GetStreamIsModified)(AEGP_StreamRefH, A_Boolean* modified);
    A_Err (*AEGP_GetStreamIndexInParent)(AEGP_StreamRefH, A_long* index);
    A_Err (*AEGP_IsSeparationLeader)(AEGP_StreamRefH, A_Boolean* leader);
    A_Err (*AEGP_AreDimensionsSeparated)(AEGP_StreamRefH, A_Boolean* separated);
    A_Err (*AEGP_SetDimensionsSeparated)(AEGP_StreamRefH, A_Boolean separated);
    A_Err (*AEGP_GetSeparationFollower)(AEGP_StreamRefH, A_short dim, AEGP_StreamRefH*);
    A_Err (*AEGP_IsSeparationFollower)(AEGP_StreamRefH, A_Boolean* follower);
    A_Err (*AEGP_GetSeparationLeader)(AEGP_StreamRefH, AEGP_StreamRefH*);
    A_Err (*AEGP_GetSeparationDimension)(AEGP_StreamRefH, A_short* dim);
};
NIMBREL_SLOTS(AEGP_DynamicStreamSuite4, 26);
NIMBREL_SLOT(AEGP_DynamicStreamSuite4, 5, AEGP_GetDynamicStreamFlags);
NIMBREL_SLOT(AEGP_DynamicStreamSuite4, 6, AEGP_SetDynamicStreamFlag);
NIMBREL_SLOT(AEGP_DynamicStreamSuite4, 12, AEGP_SetStreamName);
NIMBREL_SLOT(AEGP_DynamicStreamSuite4, 25, AEGP_GetSeparationDimension);

}  // extern "C"
