#include "PluginBase/AE/ThreadContextAE.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "PluginBase/AE/TextAE.h"
#include "PluginBase/Exception.h"

namespace zeb {
namespace {

thread_local std::vector<ThreadContextAE> tContexts;
thread_local CleanupReport* tCleanup = nullptr;  ///< of the command in progress

ThreadContextAE* GetTop() { return tContexts.empty() ? nullptr : &tContexts.back(); }

}  // namespace

PF_InData* InData() {
    const ThreadContextAE* top = GetTop();
    if (top == nullptr || top->mInData == nullptr) ZEB_THROW(kInternalError, "Accessing 'in data' from non AE thread");
    return top->mInData;
}

PF_OutData* OutData() {
    const ThreadContextAE* top = GetTop();
    if (top == nullptr || top->mOutData == nullptr)
        ZEB_THROW(kInternalError, "Accessing 'out data' from non AE thread");
    return top->mOutData;
}

PF_ParamDef** Params() {
    const ThreadContextAE* top = GetTop();
    return top == nullptr ? nullptr : top->mParams;
}

PF_SmartRenderExtra* SmartRenderExtra() {
    const ThreadContextAE* top = GetTop();
    if (top == nullptr || top->mSmartRenderExtra == nullptr)
        ZEB_THROW(kInternalError, "Accessing 'smart render extra' from non AE thread");
    return top->mSmartRenderExtra;
}

void SetSmartRenderExtra(PF_SmartRenderExtra* extra) {
    ThreadContextAE* top = GetTop();
    if (top == nullptr) ZEB_THROW(kInternalError, "Accessing 'smart render extra' from non AE thread");
    top->mSmartRenderExtra = extra;
}

SuiteTableAE& AEGPSuites() {
    const ThreadContextAE* top = GetTop();
    if (top == nullptr || top->mSuites == nullptr)
        ZEB_THROW(kInternalError, "Accessing AEGP suites from non AE thread");
    return *top->mSuites;
}

AEFX::WorldSuiteAE& WorldSuite() {
    if (GetTop() == nullptr) ZEB_THROW(kInternalError, "Accessing World suite from non AE thread");
    if (!GetTop()->mWorldSuite) {
        // The host may nest a command while it serves the acquisition, which moves the entries.
        auto suite = MakeUnique<AEFX::WorldSuiteAE>();
        GetTop()->mWorldSuite = std::move(suite);
    }
    return *GetTop()->mWorldSuite;
}

bool HasThreadContext() { return !tContexts.empty(); }

ThreadContextScope::ThreadContextScope(PF_InData* inData, PF_OutData* outData, PF_ParamDef** params)
    : mSuites(inData == nullptr ? nullptr : inData->pica_basicP) {
    ThreadContextAE context;
    context.mInData = inData;
    context.mOutData = outData;
    context.mParams = params;
    context.mSuites = &mSuites;
    tContexts.push_back(std::move(context));
    if (outData != nullptr) outData->return_msg[0] = '\0';
}

ThreadContextScope::~ThreadContextScope() {
    tContexts.back().mWorldSuite.reset();
    tContexts.pop_back();
}

bool SetMessage(PF_OutData* outData, std::string_view text) noexcept {
    if (outData == nullptr || outData->return_msg[0] != '\0') return false;
    const std::string_view cut = CutUtf8(text, sizeof(outData->return_msg) - 1);
    std::memcpy(outData->return_msg, cut.data(), cut.size());
    outData->return_msg[cut.size()] = '\0';
    return true;
}

void ReportError(PF_OutData* outData, std::string_view text) noexcept {
    if (SetMessage(outData, text)) outData->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
}

void LogFailure(std::string_view text) noexcept {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(text.size()), text.data());
}

void ReportCleanupFailure(std::string_view text) noexcept {
    LogFailure(text);
    if (tCleanup == nullptr || tCleanup->mText[0] != '\0') return;
    const std::string_view cut = CutUtf8(text, sizeof(tCleanup->mText) - 1);
    std::memcpy(tCleanup->mText, cut.data(), cut.size());
}

CleanupReport::CleanupReport(PF_OutData* outData) noexcept : mOutData(outData), mOuter(tCleanup) { tCleanup = this; }

CleanupReport::~CleanupReport() {
    tCleanup = mOuter;
    if (mText[0] != '\0') SetMessage(mOutData, mText);
}

}  // namespace zeb
