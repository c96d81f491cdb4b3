#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "Commands/Boundary.h"
#include "NimbrelHost/Commands/Command.h"
#include "NimbrelHost/Support/Interrupt.h"

// The C functions behind the callbacks of the commands' input record.

namespace nimbrel::host {
namespace {

/// Runs `body` with the command that handed out the reference.
template <class Body>
PF_Err WithCommand(PF_ProgPtr reference, Body body) noexcept {
    return Answer<PF_Err>(kCommandCodes, "", [&](Host&) -> PF_Err {
        Command* const command = Command::FromReference(reference);
        return command == nullptr ? static_cast<PF_Err>(PF_Err_BAD_CALLBACK_PARAM) : body(*command);
    });
}

/// Runs `body` with the host's handles.
template <class Result, class Body>
Result WithHandles(Body body) noexcept {
    return Answer<Result>(kCommandCodes, "", [&](Host& host) { return body(host.GetHandles()); });
}

PF_Err CheckoutParam(PF_ProgPtr reference, PF_ParamIndex index, A_long time, A_long, A_u_long scale,
                     PF_ParamDef* record) {
    return WithCommand(reference,
                       [&](Command& command) { return command.CheckoutParameter(index, time, scale, record); });
}

PF_Err CheckinParam(PF_ProgPtr reference, PF_ParamDef* record) {
    return WithCommand(reference, [&](Command& command) { return command.CheckinParameter(record); });
}

// Parameters are only ever appended, so an index must be the next one.
PF_Err AddParam(PF_ProgPtr reference, PF_ParamIndex index, PF_ParamDef* definition) {
    return WithCommand(reference, [&](Command& command) -> PF_Err {
        if (command.GetCommand() != PF_Cmd_PARAMS_SETUP) return PF_Err_INVALID_CALLBACK;
        const auto next = static_cast<PF_ParamIndex>(command.GetHost().GetParameters().Count()) + 1;
        if (definition == nullptr || (index != -1 && index != next)) return PF_Err_BAD_CALLBACK_PARAM;
        command.GetHost().AddParameter(*definition);
        return PF_Err_NONE;
    });
}

// Both ways of asking answer the same, so that an effect may use either.
PF_Err Abort(PF_ProgPtr) { return IsInterrupted() ? PF_Interrupt_CANCEL : PF_Err_NONE; }

PF_Err Progress(PF_ProgPtr reference, A_long current, A_long total) {
    return WithCommand(reference, [&](Command& command) -> PF_Err {
        command.GetHost().ReportProgress(current, total);
        return IsInterrupted() ? PF_Interrupt_CANCEL : PF_Err_NONE;
    });
}

PF_Err RegisterUI(PF_ProgPtr reference, PF_CustomUIInfo* info) {
    return WithCommand(reference, [&](Command& command) -> PF_Err {
        if (info == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
        command.GetHost().GetCustomUI().mRegisteredEvents |= info->events;
        return PF_Err_NONE;
    });
}

int Print(A_char* to, const A_char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    // The interface gives no length; 256 is that of the longest text field it has.
    const int length = std::vsnprintf(to, 256, format, arguments);
    va_end(arguments);
    return length;
}

A_char* Copy(A_char* to, const A_char* from) { return std::strcpy(to, from); }

template <double (*Function)(double)>
double Unary(double x) {
    return Function(x);
}

template <double (*Function)(double, double)>
double Binary(double x, double y) {
    return Function(x, y);
}

// Image functions of the table stay null: they belong to older ways of rendering.
PF_UtilCallbacks MakeUtilCallbacks() {
    PF_UtilCallbacks utils{};
    utils.host_new_handle = [](A_u_longlong size) {
        return WithHandles<PF_Handle>([&](HandleStore& handles) { return handles.New(size); });
    };
    utils.host_lock_handle = [](PF_Handle handle) {
        return WithHandles<void*>([&](HandleStore& handles) { return handles.Lock(handle); });
    };
    utils.host_unlock_handle = [](PF_Handle handle) {
        WithHandles<void>([&](HandleStore& handles) { handles.Unlock(handle); });
    };
    utils.host_dispose_handle = [](PF_Handle handle) {
        WithHandles<void>([&](HandleStore& handles) { handles.Dispose(handle); });
    };
    utils.host_get_handle_size = [](PF_Handle handle) {
        return WithHandles<A_u_longlong>([&](HandleStore& handles) { return handles.GetSize(handle); });
    };
    utils.host_resize_handle = [](A_u_longlong size, PF_Handle* handle) {
        return WithHandles<PF_Err>([&](HandleStore& handles) {
            return handle != nullptr && handles.Resize(*handle, size) ? PF_Err_NONE : PF_Err_OUT_OF_MEMORY;
        });
    };
    PF_ANSICallbacks& ansi = utils.ansi;
    ansi.atan = Unary<std::atan>;
    ansi.atan2 = Binary<std::atan2>;
    ansi.ceil = Unary<std::ceil>;
    ansi.cos = Unary<std::cos>;
    ansi.exp = Unary<std::exp>;
    ansi.fabs = Unary<std::fabs>;
    ansi.floor = Unary<std::floor>;
    ansi.fmod = Binary<std::fmod>;
    ansi.hypot = Binary<std::hypot>;
    ansi.log = Unary<std::log>;
    ansi.log10 = Unary<std::log10>;
    ansi.pow = Binary<std::pow>;
    ansi.sin = Unary<std::sin>;
    ansi.sqrt = Unary<std::sqrt>;
    ansi.tan = Unary<std::tan>;
    ansi.sprintf = Print;
    ansi.strcpy = Copy;
    ansi.asin = Unary<std::asin>;
    ansi.acos = Unary<std::acos>;
    return utils;
}

}  // namespace

const PF_InteractCallbacks& GetInteractCallbacks() {
    static const PF_InteractCallbacks callbacks = [] {
        PF_InteractCallbacks made{};
        made.checkout_param = CheckoutParam;
        made.checkin_param = CheckinParam;
        made.add_param = AddParam;
        made.abort = Abort;
        made.progress = Progress;
        made.register_ui = RegisterUI;
        return made;
    }();
    return callbacks;
}

PF_UtilCallbacks* GetUtilCallbacks() {
    static PF_UtilCallbacks utils = MakeUtilCallbacks();
    return &utils;
}

}  // namespace nimbrel::host
