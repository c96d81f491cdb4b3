#include "NimbrelHost/Commands/Importers.h"
#include "NimbrelHost/Support/Text.h"
#include "Suites/SuiteSupport.h"

// The suites of importers: how a module enters, and what it tells of an opened source.

namespace nimbrel::host {
namespace {

constexpr A_long kMaxSize = 30000;  // of footage, in pixels

InSpec* ToSource(Host& host, AEIO_InSpecH handle) { return host.GetImporters().Find(handle); }

A_Err RegisterIO(Host& host, AEGP_PluginID plugin, AEGP_IORefcon refcon, const AEIO_ModuleInfo* info,
                 const AEIO_FunctionBlock4* functions) {
    return host.GetImporters().Register(plugin, refcon, info, functions);
}

/// What a module tells of a source, where it may: in the calls that open, restore or check one.
template <class Member, class Value>
A_Err Set(Host& host, AEIO_InSpecH handle, Member InSpec::*member, const Value* value) {
    const ModuleCall* const call = ModuleCall::Current();
    if (call == nullptr || !call->MaySet()) {
        host.GetDiagnostics().Report("an importer described a source where it must not");
        return A_Err_PARAMETER;
    }
    InSpec* const source = ToSource(host, handle);
    if (source == nullptr || value == nullptr) return A_Err_PARAMETER;
    source->*member = *value;
    return A_Err_NONE;
}

template <class Member, class Value>
A_Err Get(Host& host, AEIO_InSpecH handle, Member InSpec::*member, Value* value) {
    const InSpec* const source = ToSource(host, handle);
    if (source == nullptr || value == nullptr) return A_Err_PARAMETER;
    *value = source->*member;
    return A_Err_NONE;
}

A_Err GetOptions(Host& host, AEIO_InSpecH source, void** options) {
    return Get(host, source, &InSpec::mOptions, options);
}

A_Err SetOptions(Host& host, AEIO_InSpecH source, void* options, void** old) {
    void* former = nullptr;
    if (const A_Err error = Get(host, source, &InSpec::mOptions, &former)) return error;
    if (old != nullptr) *old = former;
    return Set(host, source, &InSpec::mOptions, &options);
}

A_Err GetFilePath(Host& host, AEIO_InSpecH handle, AEGP_MemHandle* path) {
    const InSpec* const source = ToSource(host, handle);
    if (source == nullptr || path == nullptr) return A_Err_PARAMETER;
    *path = NewTextHandle(host, PathText(source->GetFile()));
    return *path == nullptr ? A_Err_ALLOC : A_Err_NONE;
}

A_Err GetDepth(Host& host, AEIO_InSpecH source, A_short* depth) { return Get(host, source, &InSpec::mDepth, depth); }
A_Err SetDepth(Host& host, AEIO_InSpecH source, A_short depth) { return Set(host, source, &InSpec::mDepth, &depth); }
A_Err GetSize(Host& host, AEIO_InSpecH source, AEIO_FileSize* size) { return Get(host, source, &InSpec::mSize, size); }
A_Err SetSize(Host& host, AEIO_InSpecH source, AEIO_FileSize size) { return Set(host, source, &InSpec::mSize, &size); }
A_Err GetFrameRate(Host& host, AEIO_InSpecH source, A_Fixed* rate) {
    return Get(host, source, &InSpec::mFrameRate, rate);
}
A_Err SetFrameRate(Host& host, AEIO_InSpecH source, A_Fixed rate) {
    return Set(host, source, &InSpec::mFrameRate, &rate);
}
A_Err GetAlpha(Host& host, AEIO_InSpecH source, AEIO_AlphaLabel* label) {
    return Get(host, source, &InSpec::mAlpha, label);
}
A_Err GetInterlace(Host& host, AEIO_InSpecH source, FIEL_Label* label) {
    return Get(host, source, &InSpec::mInterlace, label);
}
A_Err GetDuration(Host& host, AEIO_InSpecH source, A_Time* time) { return Get(host, source, &InSpec::mDuration, time); }
A_Err GetPixelAspect(Host& host, AEIO_InSpecH source, A_Ratio* ratio) {
    return Get(host, source, &InSpec::mPixelAspect, ratio);
}

A_Err SetAlpha(Host& host, AEIO_InSpecH source, const AEIO_AlphaLabel* label) {
    if (label == nullptr || label->version != AEIO_AlphaLabel_VERSION || label->alpha > AEIO_Alpha_NONE)
        return A_Err_PARAMETER;
    return Set(host, source, &InSpec::mAlpha, label);
}

A_Err SetInterlace(Host& host, AEIO_InSpecH source, const FIEL_Label* label) {
    if (label == nullptr || label->signature != FIEL_Tag || label->version != FIEL_Label_VERSION)
        return A_Err_PARAMETER;
    return Set(host, source, &InSpec::mInterlace, label);
}

A_Err SetDuration(Host& host, AEIO_InSpecH source, const A_Time* time) {
    return Set(host, source, &InSpec::mDuration, time);
}

A_Err SetPixelAspect(Host& host, AEIO_InSpecH source, const A_Ratio* ratio) {
    if (ratio == nullptr || ratio->num <= 0 || ratio->den == 0) return A_Err_PARAMETER;
    return Set(host, source, &InSpec::mPixelAspect, ratio);
}

A_Err GetDimensions(Host& host, AEIO_InSpecH source, A_long* width, A_long* height) {
    A_long unused = 0;
    const A_Err error = Get(host, source, &InSpec::mWidth, width == nullptr ? &unused : width);
    return error != A_Err_NONE ? error : Get(host, source, &InSpec::mHeight, height == nullptr ? &unused : height);
}

A_Err SetDimensions(Host& host, AEIO_InSpecH source, A_long width, A_long height) {
    if (width < 1 || height < 1 || width > kMaxSize || height > kMaxSize) return A_Err_PARAMETER;
    const A_Err error = Set(host, source, &InSpec::mWidth, &width);
    return error != A_Err_NONE ? error : Set(host, source, &InSpec::mHeight, &height);
}

}  // namespace

void AddImportSuites(SuiteRegistry& suites) {
    static const AEGP_RegisterSuite5 registerSuite = [] {
        auto table = MakeTable<AEGP_RegisterSuite5>(kAEGPRegisterSuite);
        NIMBREL_SERVE(table, AEGP_RegisterIO, RegisterIO);
        return table;
    }();
    static const AEGP_IOInSuite5 inSuite = [] {
        auto table = MakeTable<AEGP_IOInSuite5>(kAEGPIOInSuite);
        NIMBREL_SERVE(table, AEGP_GetInSpecOptionsHandle, GetOptions);
        NIMBREL_SERVE(table, AEGP_SetInSpecOptionsHandle, SetOptions);
        NIMBREL_SERVE(table, AEGP_GetInSpecFilePath, GetFilePath);
        NIMBREL_SERVE(table, AEGP_GetInSpecNativeFPS, GetFrameRate);
        NIMBREL_SERVE(table, AEGP_SetInSpecNativeFPS, SetFrameRate);
        NIMBREL_SERVE(table, AEGP_GetInSpecDepth, GetDepth);
        NIMBREL_SERVE(table, AEGP_SetInSpecDepth, SetDepth);
        NIMBREL_SERVE(table, AEGP_GetInSpecSize, GetSize);
        NIMBREL_SERVE(table, AEGP_SetInSpecSize, SetSize);
        NIMBREL_SERVE(table, AEGP_GetInSpecInterlaceLabel, GetInterlace);
        NIMBREL_SERVE(table, AEGP_SetInSpecInterlaceLabel, SetInterlace);
        NIMBREL_SERVE(table, AEGP_GetInSpecAlphaLabel, GetAlpha);
        NIMBREL_SERVE(table, AEGP_SetInSpecAlphaLabel, SetAlpha);
        NIMBREL_SERVE(table, AEGP_GetInSpecDuration, GetDuration);
        NIMBREL_SERVE(table, AEGP_SetInSpecDuration, SetDuration);
        NIMBREL_SERVE(table, AEGP_GetInSpecDimensions, GetDimensions);
        NIMBREL_SERVE(table, AEGP_SetInSpecDimensions, SetDimensions);
        NIMBREL_SERVE(table, AEGP_GetInSpecHSF, GetPixelAspect);
        NIMBREL_SERVE(table, AEGP_SetInSpecHSF, SetPixelAspect);
        return table;
    }();
    suites.Add(kAEGPRegisterSuite, kAEGPRegisterSuiteVersion5, &registerSuite);
    suites.Add(kAEGPIOInSuite, kAEGPIOInSuiteVersion5, &inSuite);
    // The older version is the newer one's beginning.
    suites.Add(kAEGPIOInSuite, kAEGPIOInSuiteVersion4, &inSuite);
}

}  // namespace nimbrel::host
