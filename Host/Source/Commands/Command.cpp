#include "NimbrelHost/Commands/Command.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "NimbrelHost/Commands/CustomData.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Interrupt.h"

namespace nimbrel::host {
namespace {

constexpr A_long kApplicationId = 0x46585443;  // 'FXTC'

// Commands of a thread nest like its calls.
thread_local Command* tCurrent = nullptr;

std::string GetCommandName(PF_Cmd command) {
    switch (command) {
        case PF_Cmd_GLOBAL_SETUP: return "global setup";
        case PF_Cmd_GLOBAL_SETDOWN: return "global setdown";
        case PF_Cmd_PARAMS_SETUP: return "parameter setup";
        case PF_Cmd_SEQUENCE_SETUP: return "sequence setup";
        case PF_Cmd_SEQUENCE_RESETUP: return "sequence resetup";
        case PF_Cmd_SEQUENCE_SETDOWN: return "sequence setdown";
        case PF_Cmd_GET_FLATTENED_SEQUENCE_DATA: return "flattening the sequence";
        case PF_Cmd_USER_CHANGED_PARAM: return "a changed control";
        case PF_Cmd_UPDATE_PARAMS_UI: return "updating the controls";
        case PF_Cmd_EVENT: return "an event of a control";
        case PF_Cmd_ARBITRARY_CALLBACK: return "a custom value's callback";
        case PF_Cmd_SMART_PRE_RENDER: return "pre-render";
        case PF_Cmd_SMART_RENDER: return "render";
        default: return fmt::format("command {}", command);
    }
}

}  // namespace

bool MayChangeProject(PF_Cmd command) {
    switch (command) {
        case PF_Cmd_GLOBAL_SETUP:
        case PF_Cmd_GLOBAL_SETDOWN:
        case PF_Cmd_USER_CHANGED_PARAM:
        case PF_Cmd_UPDATE_PARAMS_UI:
        case PF_Cmd_EVENT: return true;
        default: return false;
    }
}

// The records are on the heap and gone with the command, so that a pointer kept too long is found by memory checkers.
Command::Command(Host& host, PF_Cmd command, int time)
    : mHost(host), mCommand(command), mRecords(std::make_unique<Records>()), mOuter(tCurrent) {
    FillInData(time);
    PF_OutData& out = mRecords->mOut;
    out.global_data = mRecords->mIn.global_data;
    out.sequence_data = mRecords->mIn.sequence_data;
    tCurrent = this;
}

Command::~Command() { tCurrent = mOuter; }

void Command::FillInData(int time) {
    const Composition& composition = mHost.GetProject().GetComposition();
    const TimeBase clock = mHost.GetLayerClock().GetUnits();
    PF_InData& in = mRecords->mIn;
    in.inter = GetInteractCallbacks();
    in.utils = GetUtilCallbacks();
    // The reference names this very command: one kept from another is refused.
    in.effect_ref = reinterpret_cast<PF_ProgPtr>(this);
    in.quality = PF_Quality_HI;
    in.version = {13, 27};
    in.appl_id = kApplicationId;
    in.num_params = static_cast<A_long>(mHost.GetParameters().Count()) + 1;
    in.current_time = time;
    in.time_step = clock.mStep;
    in.local_time_step = clock.mStep;
    // The layer's own length is the composition's. Times are 32-bit; one longer than that is cut here alone.
    in.total_time = static_cast<A_long>(
        std::min<double>(INT32_MAX, std::round(CountFrames(composition) / composition.mFrameRate * clock.mScale)));
    in.time_scale = static_cast<A_u_long>(clock.mScale);
    in.field = PF_Field_FRAME;
    in.width = composition.LayerWidth();
    in.height = composition.LayerHeight();
    in.extent_hint = {0, 0, composition.LayerOutputWidth(), composition.LayerOutputHeight()};
    in.downsample_x = {1, static_cast<A_u_long>(composition.mDownsample)};
    in.downsample_y = in.downsample_x;
    in.pixel_aspect_ratio = {1, 1};
    in.global_data = mHost.GetGlobalData();
    // An effect that renders on threads reaches its sequence data through a suite then.
    const bool renders = mCommand == PF_Cmd_SMART_PRE_RENDER || mCommand == PF_Cmd_SMART_RENDER;
    in.sequence_data = renders && mHost.SupportsThreads() ? nullptr : mHost.GetSequenceData();
    in.pica_basicP = mHost.GetBasicSuite();
}

void Command::Run(PF_ParamDef** parameters, void* extra) {
    PF_OutData& out = mRecords->mOut;
    const PF_Err error = mHost.GetEffect().mMain(mCommand, &mRecords->mIn, &out, parameters, nullptr, extra);
    // The effect holds what it checked out for the length of the command and no longer.
    CheckLeftovers();
    out.return_msg[sizeof(out.return_msg) - 1] = 0;
    std::string message = out.return_msg;
    // Effects break lines with carriage returns, as their host's dialogs want it.
    std::replace(message.begin(), message.end(), '\r', '\n');
    // What fails once the user has stopped the work fails for that; a cancel that nobody asked for is a failure like
    // any other.
    if (error != PF_Err_NONE && IsInterrupted()) throw Interrupted();
    if (error != PF_Err_NONE || (out.out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE) != 0) {
        if (message.empty()) {
            message = fmt::format("the effect failed in {} with error {}", GetCommandName(mCommand), error);
        }
        throw EffectError(message, error);
    }
    if (!message.empty()) mHost.ShowMessage(message);
}

void Command::CheckLeftovers() {
    const std::string name = GetCommandName(mCommand);
    Diagnostics& diagnostics = mHost.GetDiagnostics();
    if (!mCheckedOut.empty()) {
        diagnostics.Report(fmt::format("{}: {} parameters not checked in", name, mCheckedOut.size()));
        while (!mCheckedOut.empty()) CheckinParameter(mCheckedOut.begin()->first);
    }
    // Receipts are counted by thread, and an outer command may hold some rightly.
    if (mOuter != nullptr) return;
    if (const std::size_t receipts = mHost.GetCache().CountReceiptsOfThisThread(); receipts > 0) {
        diagnostics.Report(fmt::format("{}: {} cached values not checked in", name, receipts));
    }
    // A host may leave a group open for good, so that a failure must close its own too.
    if (MayChangeProject(mCommand) && mHost.GetUndo().CloseGroups() != 0) {
        diagnostics.Report(fmt::format("{}: undo groups begun and ended don't match", name));
    }
}

Command* Command::Current() { return tCurrent; }

Command* Command::FromReference(PF_ProgPtr reference) {
    for (Command* command = tCurrent; command != nullptr; command = command->mOuter) {
        if (reinterpret_cast<PF_ProgPtr>(command) == reference) return command;
    }
    return nullptr;
}

PF_Err Command::CheckoutParameter(int index, int time, unsigned scale, PF_ParamDef* record) {
    if (record == nullptr || scale == 0) return PF_Err_BAD_CALLBACK_PARAM;
    // The input layer has no picture worth rendering for a checkout; its record is empty, as for a layer of none.
    if (index == 0) {
        *record = {};
        mCheckedOut[record] = {};
        return PF_Err_NONE;
    }
    Parameter* const parameter = mHost.GetParameters().Get(index);
    if (parameter == nullptr) return PF_Err_INVALID_INDEX;
    const double seconds = static_cast<double>(time) / scale;
    FillRecord(*parameter, mHost.EvaluateParameter(*parameter, seconds),
               mHost.GetProject().GetComposition().mDownsample, *record);
    // A fresh copy each time: the effect may read it until it checks it in, whatever happens to the value.
    PF_Handle custom = nullptr;
    if (parameter->GetType() == PF_Param_ARBITRARY_DATA) custom = EvaluateCustom(mHost, *parameter, seconds);
    if (custom != nullptr) record->u.arb_d.value = custom;
    mCheckedOut[record] = {parameter, custom};
    return PF_Err_NONE;
}

PF_Err Command::CheckinParameter(const PF_ParamDef* record) {
    const auto found = mCheckedOut.find(record);
    if (found == mCheckedOut.end()) {
        mHost.GetDiagnostics().Report("check-in of a parameter that is not checked out");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    const CheckedOut checkedOut = found->second;
    mCheckedOut.erase(found);
    if (checkedOut.mCustom != nullptr) DisposeCustom(mHost, *checkedOut.mParameter, checkedOut.mCustom);
    return PF_Err_NONE;
}

PF_Err Command::CheckoutLayer(int index, int checkoutId, PF_CheckoutResult* result) {
    if (mCommand != PF_Cmd_SMART_PRE_RENDER || mLayerRequests == nullptr) return PF_Err_INVALID_CALLBACK;
    Parameter* const parameter = mHost.GetParameters().Get(index);
    const bool isLayer = index == 0 || (parameter != nullptr && parameter->GetType() == PF_Param_LAYER);
    if (result == nullptr || checkoutId < 0 || !isLayer || mLayerRequests->contains(checkoutId)) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    const Composition& composition = mHost.GetProject().GetComposition();
    // A layer parameter of none answers with empty sizes, which is how effects tell.
    const bool isThere =
        parameter == nullptr || static_cast<int>(EvaluateNumbers(*parameter, 0).x) != AEGP_LayerIDVal_NONE;
    *result = {};
    result->par = {1, 1};
    if (isThere) {
        result->max_result_rect = {0, 0, composition.LayerOutputWidth(), composition.LayerOutputHeight()};
        result->result_rect = result->max_result_rect;
        result->ref_width = composition.LayerWidth();
        result->ref_height = composition.LayerHeight();
    }
    (*mLayerRequests)[checkoutId] = {result->result_rect.right, result->result_rect.bottom};
    return PF_Err_NONE;
}

PF_Err Command::CheckoutLayerPixels(int checkoutId, PF_EffectWorld** world) {
    if (mCommand != PF_Cmd_SMART_RENDER || mLayerRequests == nullptr) return PF_Err_INVALID_CALLBACK;
    const auto found = mLayerRequests->find(checkoutId);
    if (world == nullptr || found == mLayerRequests->end()) return PF_Err_BAD_CALLBACK_PARAM;
    *world = nullptr;
    const auto [width, height] = found->second;
    if (width == 0 || height == 0) return PF_Err_NONE;
    // The layers of this host's compositions are transparent: footage of models has no picture.
    const int bits = mHost.GetProject().GetComposition().mBitsPerChannel;
    auto& pixels = mLayerPixels[checkoutId];
    if (!pixels) pixels = std::make_unique<World>(World::Layout{width, height, bits});
    *world = pixels->GetRecord();
    return PF_Err_NONE;
}

PF_Err Command::CheckinLayerPixels(int checkoutId) {
    return mLayerPixels.erase(checkoutId) > 0 ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
}

}  // namespace nimbrel::host
