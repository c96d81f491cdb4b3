#include "NimbrelHost/Text.h"
#include "Suites/SuiteSupport.h"

namespace nimbrel::host {
namespace {

A_Err ReportInfo(AEGP_PluginID, const A_char* text) {
    return Guarded([&] {
        if (text == nullptr) return A_Err_PARAMETER;
        Host::Active().ShowMessage(text);
        return A_Err_NONE;
    });
}

// Nothing is undone in a batch, but groups must match: the command checks when it ends.
A_Err StartUndoGroup(const A_char*) {
    if (const A_Err error = CheckMayChangeProject()) return error;
    ++Host::Active().mOpenUndoGroups;
    return A_Err_NONE;
}

A_Err EndUndoGroup() {
    if (const A_Err error = CheckMayChangeProject()) return error;
    return --Host::Active().mOpenUndoGroups < 0 ? A_Err_GENERIC : A_Err_NONE;
}

A_Err RegisterWithAEGP(AEGP_GlobalRefcon, const A_char* name, A_long* id) {
    if (name == nullptr || std::strlen(name) > 31 || id == nullptr) return A_Err_PARAMETER;
    *id = 1;  // the one plug-in of this host
    return A_Err_NONE;
}

A_Err IsScriptingAvailable(A_Boolean* available) {
    if (available == nullptr) return A_Err_PARAMETER;
    *available = 0;  // there is nobody to show a script's dialog to
    return A_Err_NONE;
}

// There is no script engine; effects ask IsScriptingAvailable first.
A_Err ExecuteScript(AEGP_PluginID, const A_char*, A_Boolean, AEGP_MemHandle*, AEGP_MemHandle*) { return A_Err_GENERIC; }

template <class Table>
void FillUtilityTable(Table& table) {
    table.AEGP_ReportInfo = ReportInfo;
    table.AEGP_StartUndoGroup = StartUndoGroup;
    table.AEGP_EndUndoGroup = EndUndoGroup;
    table.AEGP_RegisterWithAEGP = RegisterWithAEGP;
}

}  // namespace

void AddUtilitySuites(SuiteRegistry& suites) {
    static const AEGP_UtilitySuite6 suite6 = [] {
        auto table = MakeTable<AEGP_UtilitySuite6>(kAEGPUtilitySuite);
        FillUtilityTable(table);
        table.AEGP_IsScriptingAvailable = IsScriptingAvailable;
        table.AEGP_ExecuteScript = ExecuteScript;
        return table;
    }();
    static const AEGP_UtilitySuite5 suite5 = [] {
        auto table = MakeTable<AEGP_UtilitySuite5>(kAEGPUtilitySuite);
        FillUtilityTable(table);
        table.AEGP_IsScriptingAvailable = IsScriptingAvailable;
        table.AEGP_ExecuteScript = ExecuteScript;
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
