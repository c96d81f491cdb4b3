#include "PluginBase/AE/ArbHandlerAE.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include <fmt/format.h>

#include "../CheckAE.h"
#include "PluginBase/AE/AllocatorAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/Custom/Gradient.h"
#include "PluginBase/Parameters/Custom/Ramp.h"

namespace zeb {
namespace {

// The flat form in the project: a ramp's binary form, a gradient's JSON text without a terminator.
std::string MakeFlat(const Ramp& ramp) {
    std::string bytes(ramp.ToBin(nullptr), '\0');
    ramp.ToBin(bytes.data());
    return bytes;
}
std::string MakeFlat(const Gradient& gradient) { return gradient.ToJSON(); }

void ReadFlat(Ramp& ramp, std::uint32_t size, const void* data) { ramp.FromBin(size, data); }
void ReadFlat(Gradient& gradient, std::uint32_t size, const void* data) {
    gradient.FromJSON(std::string_view(static_cast<const char*>(data), size));
}

// What MakeInterpolated gives is one of the two, found by its own type.
template <class T>
const T& As(const CustomBase& value) {
    return dynamic_cast<const T&>(value);
}

template <class T>
class ArbHandlerAE final : public ArbHandlerBase {
public:
    PF_Handle New() const override { return handle::New<T>(); }
    void Dispose(PF_Handle handle) const override { handle::Delete<T>(handle); }

    PF_Handle Copy(PF_Handle source) const override {
        // Without a source the host asks for a default.
        if (source == nullptr) return New();
        return handle::New<T>(*handle::LockUnique<T>(source));
    }

    std::uint32_t GetFlatSize(PF_Handle handle) const override {
        return ToSize(MakeFlat(*handle::LockUnique<T>(handle)).size());
    }

    void Flatten(PF_Handle handle, std::uint32_t size, void* buffer) const override {
        const std::string flat = MakeFlat(*handle::LockUnique<T>(handle));
        if (flat.size() > size || (buffer == nullptr && !flat.empty()))
            ZEB_THROW(PF_Err_BAD_CALLBACK_PARAM,
                      fmt::format("Failed to flatten custom data of {} bytes into {}", flat.size(), size));
        std::memcpy(buffer, flat.data(), flat.size());
    }

    PF_Handle Unflatten(std::uint32_t size, const void* buffer) const override {
        T value;
        ReadFlat(value, buffer == nullptr ? 0 : size, buffer);
        return handle::New<T>(value);
    }

    PF_Handle Interpolate(PF_Handle left, PF_Handle right, double t) const override {
        const auto a = handle::LockUnique<T>(left);
        const auto b = handle::LockUnique<T>(right);
        const UniquePtr<CustomBase> value = a->MakeInterpolated(*b, static_cast<float>(t));
        return handle::New<T>(As<T>(*value));
    }

    PF_ArbCompareResult Compare(PF_Handle a, PF_Handle b) const override {
        if (a == b) return PF_ArbCompare_EQUAL;
        const auto lockA = handle::LockUnique<T>(a);
        const auto lockB = handle::LockUnique<T>(b);
        return lockA->IsEqual(*lockB) ? PF_ArbCompare_EQUAL : PF_ArbCompare_NOT_EQUAL;
    }

    std::uint32_t GetPrintSize(PF_Handle handle) const override {
        return ToSize(handle::LockUnique<T>(handle)->ToJSON().size() + 1);
    }

    void Print(PF_Handle handle, std::uint32_t size, char* buffer) const override {
        if (size == 0 || buffer == nullptr) return;
        const std::string text = handle::LockUnique<T>(handle)->ToJSON();
        const std::size_t count = std::min<std::size_t>(text.size(), size - 1);
        std::memcpy(buffer, text.data(), count);
        buffer[count] = '\0';
    }

    PF_Handle Scan(std::string_view text) const override {
        T value;
        value.FromJSON(text);
        return handle::New<T>(value);
    }

    UniquePtr<CustomBase> LockObject(PF_Handle handle) const override { return handle::LockUnique<T>(handle); }

private:
    static std::uint32_t ToSize(std::size_t size) {
        if (size > std::numeric_limits<std::uint32_t>::max())
            ZEB_THROW(PF_Err_OUT_OF_MEMORY, "Custom data is too large for the host");
        return static_cast<std::uint32_t>(size);
    }
};

template <class T>
void** MakeDefaultHandle() {
    return handle::New<T>();
}

struct CustomTypeAE {
    std::string_view mName;
    ArbHandlerBase& mHandler;
    void** (*mMakeDefaultHandle)();
};

const CustomTypeAE& GetCustomType(std::string_view valueType) {
    static ArbHandlerAE<Ramp> ramp;
    static ArbHandlerAE<Gradient> gradient;
    static const CustomTypeAE types[] = {{"Ramp", ramp, MakeDefaultHandle<Ramp>},
                                         {"Gradient", gradient, MakeDefaultHandle<Gradient>}};
    for (const CustomTypeAE& type : types) {
        if (type.mName == valueType) return type;
    }
    ZEB_THROW(kInternalError, fmt::format("Unknown custom parameter type \"{}\"", valueType));
}

/// The text up to its end or to the size that the host gave.
std::string_view GetScanText(const char* text, std::uint32_t size) {
    if (text == nullptr) return {};
    const std::string_view all(text, size);
    return all.substr(0, all.find('\0'));
}

/// Where the host wants an answer, or has data.
template <class T>
T* NeedOut(T* pointer) {
    return NeedFromHost(pointer, "place for custom data");
}

}  // namespace

ArbHandlerBase& GetArbHandler(std::string_view valueType) { return GetCustomType(valueType).mHandler; }

void CompleteCustomSettingsAE(ParameterCustomSettings& settings) {
    const CustomTypeAE& type = GetCustomType(settings.valueType);
    settings.arbHandler = &type.mHandler;
    settings.makeDefaultHandle = type.mMakeDefaultHandle;
}

void HandleArbitraryCallback(PF_ArbParamsExtra& extra) {
    auto& u = extra.u;
    // Every member of the union begins with the handler's address.
    const auto* handler = static_cast<const ArbHandlerBase*>(u.new_func_params.refconPV);
    if (handler == nullptr) ZEB_THROW(PF_Err_BAD_CALLBACK_PARAM, "Custom data without its handler");
    switch (extra.which_function) {
        case PF_Arbitrary_NEW_FUNC: *NeedOut(u.new_func_params.arbPH) = handler->New(); break;
        case PF_Arbitrary_DISPOSE_FUNC: handler->Dispose(u.dispose_func_params.arbH); break;
        case PF_Arbitrary_COPY_FUNC:
            *NeedOut(u.copy_func_params.dst_arbPH) = handler->Copy(u.copy_func_params.src_arbH);
            break;
        case PF_Arbitrary_FLAT_SIZE_FUNC:
            *NeedOut(u.flat_size_func_params.flat_data_sizePLu) = handler->GetFlatSize(u.flat_size_func_params.arbH);
            break;
        case PF_Arbitrary_FLATTEN_FUNC:
            handler->Flatten(u.flatten_func_params.arbH, u.flatten_func_params.buf_sizeLu,
                             NeedOut(u.flatten_func_params.flat_dataPV));
            break;
        case PF_Arbitrary_UNFLATTEN_FUNC:
            *NeedOut(u.unflatten_func_params.arbPH) =
                handler->Unflatten(u.unflatten_func_params.buf_sizeLu, NeedOut(u.unflatten_func_params.flat_dataPV));
            break;
        case PF_Arbitrary_INTERP_FUNC:
            *NeedOut(u.interp_func_params.interpPH) = handler->Interpolate(
                u.interp_func_params.left_arbH, u.interp_func_params.right_arbH, u.interp_func_params.tF);
            break;
        case PF_Arbitrary_COMPARE_FUNC:
            *NeedOut(u.compare_func_params.compareP) =
                handler->Compare(u.compare_func_params.a_arbH, u.compare_func_params.b_arbH);
            break;
        case PF_Arbitrary_PRINT_SIZE_FUNC:
            *NeedOut(u.print_size_func_params.print_sizePLu) = handler->GetPrintSize(u.print_size_func_params.arbH);
            break;
        case PF_Arbitrary_PRINT_FUNC:
            handler->Print(u.print_func_params.arbH, u.print_func_params.print_sizeLu,
                           NeedOut(u.print_func_params.print_bufferPC));
            break;
        case PF_Arbitrary_SCAN_FUNC:
            *NeedOut(u.scan_func_params.arbPH) =
                handler->Scan(GetScanText(u.scan_func_params.bufPC, u.scan_func_params.bytes_to_scanLu));
            break;
        default:
            ZEB_THROW(PF_Err_BAD_CALLBACK_PARAM,
                      fmt::format("Unknown function {} of custom data", extra.which_function));
    }
}

}  // namespace zeb
