#pragma once

#include <string_view>

#include "HostInterface/HostInterface.h"
#include "PluginBase/AE/AEFXWorldSuiteAE.h"
#include "PluginBase/AE/SuiteTableAE.h"
#include "PluginBase/Misc/MakeUnique.h"

/// The host's data of the command that this thread is carrying.
///
/// Host structures are reached through these functions only, on the host's thread, inside a host
/// command. Elsewhere they throw, so that nothing dangles. Nothing may be kept past the command.
namespace zeb {

/// One command in progress on this thread.
struct ThreadContextAE {
    PF_InData* mInData = nullptr;
    PF_OutData* mOutData = nullptr;
    PF_ParamDef** mParams = nullptr;
    PF_SmartRenderExtra* mSmartRenderExtra = nullptr;
    SuiteTableAE* mSuites = nullptr;
    UniquePtr<AEFX::WorldSuiteAE> mWorldSuite;
};

PF_InData* InData();
PF_OutData* OutData();
/// Null without a context or for commands that bring no parameters.
PF_ParamDef** Params();
/// Throws in any command but PF_Cmd_SMART_RENDER.
PF_SmartRenderExtra* SmartRenderExtra();
void SetSmartRenderExtra(PF_SmartRenderExtra* extra);
SuiteTableAE& AEGPSuites();
AEFX::WorldSuiteAE& WorldSuite();

/// Whether this thread is carrying a command.
bool HasThreadContext();

/// Opens a context and closes it on every path. Commands nest: the newest context rules. Clears the
/// command's message. A failure to release in the destructor ends the process.
class ThreadContextScope {
public:
    ThreadContextScope(PF_InData* inData, PF_OutData* outData, PF_ParamDef** params);
    ~ThreadContextScope();
    ThreadContextScope(const ThreadContextScope&) = delete;
    ThreadContextScope& operator=(const ThreadContextScope&) = delete;

private:
    SuiteTableAE mSuites;
};

/// Copies at most 255 characters (bytes, cut between UTF-8 characters) into the message if it is empty.
/// Returns whether it did. `outData` may be null.
bool SetMessage(PF_OutData* outData, std::string_view text) noexcept;

/// SetMessage, and has the host show it as an error.
void ReportError(PF_OutData* outData, std::string_view text) noexcept;

/// For failures where nothing may be thrown: one line on the process's error stream.
void LogFailure(std::string_view text) noexcept;

/// LogFailure for something that could not be given back. Inside a command its user is told as well, unless the command
/// itself has more to say.
void ReportCleanupFailure(std::string_view text) noexcept;

/// Keeps the first failure to give something back for the length of one command, and tells it at its end, behind
/// whatever the command reports. Commands nest.
class CleanupReport {
public:
    /// `outData` may be null.
    explicit CleanupReport(PF_OutData* outData) noexcept;
    ~CleanupReport();
    CleanupReport(const CleanupReport&) = delete;
    CleanupReport& operator=(const CleanupReport&) = delete;

private:
    friend void ReportCleanupFailure(std::string_view text) noexcept;

    PF_OutData* mOutData;
    CleanupReport* mOuter;
    char mText[256] = {};  ///< taken without memory, of which there may be none
};

}  // namespace zeb
