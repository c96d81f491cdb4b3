#include "NimbrelHost/Commands/CustomData.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "NimbrelHost/Commands/Command.h"
#include "NimbrelHost/Support/Errors.h"

namespace nimbrel::host {
namespace {

/// A record for each function; the interface gives the union no name.
using Arguments = decltype(PF_ArbParamsExtra::u);

/// Calls the effect for one function of a custom value. Each function's record begins with the effect's own context.
/// The callback has no parameters and no time; it may come inside another command, on any thread.
template <class Fill>
void Call(Host& host, const Parameter& parameter, PF_FunctionSelector function, Fill fill) {
    PF_ArbParamsExtra extra{};
    extra.which_function = function;
    extra.id = parameter.mDefinition.u.arb_d.id;
    extra.u.new_func_params.refconPV = parameter.mDefinition.u.arb_d.refconPV;
    fill(extra.u);
    Command(host, PF_Cmd_ARBITRARY_CALLBACK).Run(nullptr, &extra);
}

// A null handle without an error would be found only when the frame that needs it crashes.
PF_Handle Checked(const Parameter& parameter, PF_Handle handle, const char* what) {
    if (handle != nullptr) return handle;
    throw EffectError(fmt::format("the effect gave no value when {} \"{}\"", what, parameter.mName));
}

}  // namespace

PF_Handle NewCustom(Host& host, const Parameter& parameter) {
    PF_Handle made = nullptr;
    Call(host, parameter, PF_Arbitrary_NEW_FUNC, [&](Arguments& u) { u.new_func_params.arbPH = &made; });
    return Checked(parameter, made, "making");
}

PF_Handle CopyCustom(Host& host, const Parameter& parameter, PF_Handle source) {
    PF_Handle copy = nullptr;
    Call(host, parameter, PF_Arbitrary_COPY_FUNC, [&](Arguments& u) {
        u.copy_func_params.src_arbH = source;
        u.copy_func_params.dst_arbPH = &copy;
    });
    return Checked(parameter, copy, "copying");
}

PF_Handle InterpolateCustom(Host& host, const Parameter& parameter, PF_Handle left, PF_Handle right, double fraction) {
    PF_Handle mixed = nullptr;
    Call(host, parameter, PF_Arbitrary_INTERP_FUNC, [&](Arguments& u) {
        u.interp_func_params.left_arbH = left;
        u.interp_func_params.right_arbH = right;
        u.interp_func_params.tF = fraction;
        u.interp_func_params.interpPH = &mixed;
    });
    return Checked(parameter, mixed, "interpolating");
}

PF_Handle ScanCustom(Host& host, const Parameter& parameter, const std::string& text) {
    PF_Handle scanned = nullptr;
    Call(host, parameter, PF_Arbitrary_SCAN_FUNC, [&](Arguments& u) {
        u.scan_func_params.bufPC = text.c_str();
        // The size includes the terminator, so that either way of reading the text ends where it should.
        u.scan_func_params.bytes_to_scanLu = static_cast<A_u_long>(text.size() + 1);
        u.scan_func_params.arbPH = &scanned;
    });
    return Checked(parameter, scanned, "reading");
}

std::string PrintCustom(Host& host, const Parameter& parameter, PF_Handle value) {
    A_u_long size = 0;
    Call(host, parameter, PF_Arbitrary_PRINT_SIZE_FUNC, [&](Arguments& u) {
        u.print_size_func_params.arbH = value;
        u.print_size_func_params.print_sizePLu = &size;
    });
    std::string text(size, '\0');
    Call(host, parameter, PF_Arbitrary_PRINT_FUNC, [&](Arguments& u) {
        u.print_func_params.arbH = value;
        u.print_func_params.print_sizeLu = size;
        u.print_func_params.print_bufferPC = text.data();
    });
    // The size is an upper bound; the text ends at its terminator.
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

std::vector<std::uint8_t> FlattenCustom(Host& host, const Parameter& parameter, PF_Handle value) {
    A_u_long size = 0;
    Call(host, parameter, PF_Arbitrary_FLAT_SIZE_FUNC, [&](Arguments& u) {
        u.flat_size_func_params.arbH = value;
        u.flat_size_func_params.flat_data_sizePLu = &size;
    });
    std::vector<std::uint8_t> flat(size);
    Call(host, parameter, PF_Arbitrary_FLATTEN_FUNC, [&](Arguments& u) {
        u.flatten_func_params.arbH = value;
        u.flatten_func_params.buf_sizeLu = size;
        u.flatten_func_params.flat_dataPV = flat.data();
    });
    return flat;
}

PF_Handle UnflattenCustom(Host& host, const Parameter& parameter, const std::vector<std::uint8_t>& flat) {
    PF_Handle read = nullptr;
    Call(host, parameter, PF_Arbitrary_UNFLATTEN_FUNC, [&](Arguments& u) {
        u.unflatten_func_params.buf_sizeLu = static_cast<A_u_long>(flat.size());
        u.unflatten_func_params.flat_dataPV = flat.data();
        u.unflatten_func_params.arbPH = &read;
    });
    return Checked(parameter, read, "reading flat data of");
}

bool AreCustomEqual(Host& host, const Parameter& parameter, PF_Handle a, PF_Handle b) {
    PF_ArbCompareResult result = PF_ArbCompare_NOT_EQUAL;
    Call(host, parameter, PF_Arbitrary_COMPARE_FUNC, [&](Arguments& u) {
        u.compare_func_params.a_arbH = a;
        u.compare_func_params.b_arbH = b;
        u.compare_func_params.compareP = &result;
    });
    return result == PF_ArbCompare_EQUAL;
}

void DisposeCustom(Host& host, const Parameter& parameter, PF_Handle value) {
    if (value == nullptr) return;
    Call(host, parameter, PF_Arbitrary_DISPOSE_FUNC, [&](Arguments& u) { u.dispose_func_params.arbH = value; });
}

// Between two keyframes only the effect knows how to mix.
PF_Handle EvaluateCustom(Host& host, const Parameter& parameter, double seconds) {
    const KeySpan span = parameter.mValue.Find(seconds);
    const PF_Handle left = parameter.mValue.mKeys[span.mLeft].mValue.mCustom;
    if (span.mLeft == span.mRight) return CopyCustom(host, parameter, left);
    return InterpolateCustom(host, parameter, left, parameter.mValue.mKeys[span.mRight].mValue.mCustom, span.mFraction);
}

void RestoreCustom(Host& host, const Parameter& parameter, PF_Handle& value) {
    const PF_Handle restored = UnflattenCustom(host, parameter, FlattenCustom(host, parameter, value));
    const PF_Handle saved = std::exchange(value, restored);
    if (!AreCustomEqual(host, parameter, saved, restored)) {
        host.GetDiagnostics().Report(
            fmt::format("the value of \"{}\" is another when it was saved and read again", parameter.mName));
    }
    DisposeCustom(host, parameter, saved);
}

void ReleaseCustom(Host& host, Parameter& parameter) {
    for (auto& key : parameter.mValue.mKeys) {
        DisposeCustom(host, parameter, std::exchange(key.mValue.mCustom, nullptr));
    }
    DisposeCustom(host, parameter, std::exchange(parameter.mDefault.mCustom, nullptr));
}

}  // namespace nimbrel::host
