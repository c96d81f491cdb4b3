#include "NimbrelHost/Project/ScriptEngine.h"
#include "Suites/SuiteSupport.h"

namespace nimbrel::host {
namespace {

A_Err ReportInfo(Host& host, AEGP_PluginID, const A_char* text) {
    if (text == nullptr) return A_Err_PARAMETER;
    host.ShowMessage(text);
    return A_Err_NONE;
}

// Groups must match: the command checks when it ends.
A_Err StartUndoGroup(Host& host, const A_char* name) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    host.GetUndo().StartGroup(name == nullptr ? "" : name);
    return A_Err_NONE;
}

A_Err EndUndoGroup(Host& host) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    return host.GetUndo().EndGroup() ? A_Err_NONE : A_Err_GENERIC;
}

A_Err RegisterWithAEGP(Host&, AEGP_GlobalRefcon, const A_char* name, A_long* id) {
    if (name == nullptr || std::strlen(name) > 31 || id == nullptr) return A_Err_PARAMETER;
    *id = 1;  // the one plug-in of this host
    return A_Err_NONE;
}

A_Err IsScriptingAvailable(Host& host, A_Boolean* available) {
    if (available == nullptr) return A_Err_PARAMETER;
    // Scripts are for showing something, so there must be somebody to show it to.
    *available = host.GetOptions().mShowDialog ? 1 : 0;
    return A_Err_NONE;
}

// Result and error are narrow texts that the effect frees; either may be left out.
A_Err ExecuteScript(Host& host, AEGP_PluginID, const A_char* script, A_Boolean, AEGP_MemHandle* result,
                    AEGP_MemHandle* error) {
    if (script == nullptr) return A_Err_PARAMETER;
    if (!host.GetOptions().mShowDialog) return A_Err_GENERIC;
    if (result != nullptr) *result = nullptr;
    if (error != nullptr) *error = nullptr;
    try {
        const ScriptOutcome outcome = RunDialogScript(script);
        for (const ScriptDialog& dialog : outcome.mDialogs) host.ShowDialog(dialog.mTitle, dialog.mText);
        if (result == nullptr) return A_Err_NONE;
        *result = NewNarrowTextHandle(host, outcome.mResult);
        return *result == nullptr ? A_Err_ALLOC : A_Err_NONE;
    } catch (const ScriptError& failure) {
        if (error != nullptr) *error = NewNarrowTextHandle(host, failure.what());
        return A_Err_GENERIC;
    }
}

template <class Table>
void FillUtilityTable(Table& table) {
    NIMBREL_SERVE(table, AEGP_ReportInfo, ReportInfo);
    NIMBREL_SERVE(table, AEGP_StartUndoGroup, StartUndoGroup);
    NIMBREL_SERVE(table, AEGP_EndUndoGroup, EndUndoGroup);
    NIMBREL_SERVE(table, AEGP_RegisterWithAEGP, RegisterWithAEGP);
}

}  // namespace

void AddUtilitySuites(SuiteRegistry& suites) {
    static const AEGP_UtilitySuite6 suite6 = [] {
        auto table = MakeTable<AEGP_UtilitySuite6>(kAEGPUtilitySuite);
        FillUtilityTable(table);
        NIMBREL_SERVE(table, AEGP_IsScriptingAvailable, IsScriptingAvailable);
        NIMBREL_SERVE(table, AEGP_ExecuteScript, ExecuteScript);
        return table;
    }();
    static const AEGP_UtilitySuite5 suite5 = [] {
        auto table = MakeTable<AEGP_UtilitySuite5>(kAEGPUtilitySuite);
        FillUtilityTable(table);
        NIMBREL_SERVE(table, AEGP_IsScriptingAvailable, IsScriptingAvailable);
        NIMBREL_SERVE(table, AEGP_ExecuteScript, ExecuteScript);
        return table;
    }();
    static const AEGP_UtilitySuite3 suite3 = [] {
        auto table = MakeTable<AEGP_UtilitySuite3>(kAEGPUtilitySuite);
        FillUtilityTable(table);
        return table;
    }();
    suites.Add(kAEGPUtilitySuite, kAEGPUtilitySuiteVersion6, &suite6);
    suites.Add(kAEGPUtilitySuite, kAEGPUtilitySuiteVersion5, &suite5);
    suites.Add(kAEGPUtilitySuite, kAEGPUtilitySuiteVersion3, &suite3);
}

}  // namespace nimbrel::host
