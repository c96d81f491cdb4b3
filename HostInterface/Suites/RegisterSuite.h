#pragma once

#include "HostInterface/AEGP.h"

// Hooks of general plug-ins; an effect needs none.

extern "C" {

#define kAEGPRegisterSuite "AEGP Register Suite"
#define kAEGPRegisterSuiteVersion5 6

struct AEGP_RegisterSuite5 {
    A_Err (*AEGP_RegisterCommandHook)(AEGP_PluginID plugin_id, AEGP_HookPriority, AEGP_Command, AEGP_CommandHook,
                                      AEGP_CommandRefcon);
    A_Err (*AEGP_RegisterUpdateMenuHook)(AEGP_PluginID plugin_id, AEGP_UpdateMenuHook, AEGP_UpdateMenuRefcon);
    A_Err (*AEGP_RegisterDeathHook)(AEGP_PluginID plugin_id, AEGP_DeathHook, AEGP_DeathRefcon);
    A_Err (*AEGP_RegisterVersionHook)(AEGP_PluginID plugin_id, AEGP_VersionHook, AEGP_VersionRefcon);
    A_Err (*AEGP_RegisterAboutStringHook)(AEGP_PluginID plugin_id, AEGP_AboutStringHook, AEGP_AboutStringRefcon);
    A_Err (*AEGP_RegisterAboutHook)(AEGP_PluginID plugin_id, AEGP_AboutHook, AEGP_AboutRefcon);
    A_Err (*AEGP_RegisterArtisan)(A_Version, A_Version, AEGP_PluginID plugin_id, void*, const A_char* utf8_match_name,
                                  const A_char* artisan_name, PR_ArtisanEntryPoints*);
    A_Err (*AEGP_RegisterIO)(AEGP_PluginID plugin_id, AEGP_IORefcon, const AEIO_ModuleInfo*,
                             const AEIO_FunctionBlock4*);
    A_Err (*AEGP_RegisterIdleHook)(AEGP_PluginID plugin_id, AEGP_IdleHook, AEGP_IdleRefcon);
    A_Err (*AEGP_RegisterTracker)(A_Version, A_Version, AEGP_PluginID plugin_id, AEGP_GlobalRefcon,
                                  const A_char* utf8_match_name, const A_char* tracker_name,
                                  const PT_TrackerEntryPoints*);
    A_Err (*AEGP_RegisterInteractiveArtisan)(A_Version, A_Version, AEGP_PluginID plugin_id, void*,
                                             const A_char* utf8_match_name, const A_char* artisan_name,
                                             PR_ArtisanEntryPoints*);
    A_Err (*AEGP_RegisterPresetLocalizationString)(const A_char* english_name, const A_char* localized_name);
};
NIMBREL_SLOTS(AEGP_RegisterSuite5, 12);
NIMBREL_SLOT(AEGP_RegisterSuite5, 11, AEGP_RegisterPresetLocalizationString);

}  // extern "C"
