#include "HostInterface/NimbrelDeviceSuite.h"
#include "NimbrelHost/Command.h"
#include "Suites/SuiteSupport.h"

// The suites of effects: handles, worlds, the application, parameters, sequence data; and the choice of the device.

namespace nimbrel::host {
namespace {

HandleStore& Handles() { return Host::Active().GetHandles(); }

// The handle functions return no codes: failure is a null handle, a null pointer, or nothing.
PF_Handle NewHandle(A_u_longlong size) {
    PF_Handle handle = nullptr;
    Guarded([&] { return (handle = Handles().New(size)) == nullptr ? A_Err_ALLOC : A_Err_NONE; });
    return handle;
}

void* LockHandle(PF_Handle handle) {
    void* data = nullptr;
    Guarded([&] { return (data = Handles().Lock(handle)) == nullptr ? A_Err_PARAMETER : A_Err_NONE; });
    return data;
}

void UnlockHandle(PF_Handle handle) {
    Guarded([&] { return Handles().Unlock(handle) ? A_Err_NONE : A_Err_PARAMETER; });
}

void DisposeHandle(PF_Handle handle) {
    Guarded([&] { return Handles().Dispose(handle) ? A_Err_NONE : A_Err_PARAMETER; });
}

A_u_longlong GetHandleSize(PF_Handle handle) {
    A_u_longlong size = 0;
    Guarded([&] {
        size = Handles().GetSize(handle);
        return A_Err_NONE;
    });
    return size;
}

PF_Err ResizeHandle(A_u_longlong size, PF_Handle* handle) {
    return Guarded(
        [&] { return handle != nullptr && Handles().Resize(*handle, size) ? PF_Err_NONE : PF_Err_OUT_OF_MEMORY; });
}

// Cleared whether asked for or not. Sides are at most those of a host's worlds.
PF_Err NewWorld(PF_ProgPtr effect, A_long width, A_long height, PF_Boolean, A_long format, PF_EffectWorld* record) {
    return Guarded([&] {
        Command* const command = Command::FromReference(effect);
        const int bits = format == PF_PixelFormat_ARGB32    ? 8
                         : format == PF_PixelFormat_ARGB64  ? 16
                         : format == PF_PixelFormat_ARGB128 ? 32
                                                            : 0;
        if (command == nullptr || record == nullptr || bits == 0) return PF_Err_BAD_CALLBACK_PARAM;
        if (width < 1 || height < 1 || width > 30000 || height > 30000) return PF_Err_BAD_CALLBACK_PARAM;
        *record = *command->GetHost().AddWorld({width, height, bits})->GetRecord();
        return PF_Err_NONE;
    });
}

PF_Err DisposeWorld(PF_ProgPtr, PF_EffectWorld* record) {
    return Guarded([&] {
        const bool good = record != nullptr && Host::Active().RemoveWorld(World::FromRecord(record));
        return good ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
    });
}

// The record's flags tell 16 bits only, so the format comes from the world behind it.
PF_Err GetPixelFormat(const PF_EffectWorld* record, A_long* format) {
    const World* const world = World::FromRecord(record);
    if (world == nullptr || format == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    *format = world->GetFormat();
    return PF_Err_NONE;
}

/// The greys of a dark interface, by colour number; a colour that isn't listed is the frame's.
PF_Err AppGetColor(A_short type, PF_App_Color* color) {
    if (color == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    struct Grey {
        int mType;
        A_u_short mLevel;
    };
    static constexpr Grey greys[] = {{1, 0x2626}, {2, 0xd0d0},  {3, 0x4a4a}, {4, 0x1a1a},  {5, 0x5a5a},
                                     {6, 0x1212}, {26, 0x3a3a}, {42, 0},     {43, 0xffff}, {44, 0x8080}};
    A_u_short level = 0x3232;
    for (const Grey& grey : greys) {
        if (grey.mType == type) level = grey.mLevel;
    }
    *color = {level, level, level};
    return PF_Err_NONE;
}

PF_Err AppGetBgColor(PF_App_Color* color) { return AppGetColor(0, color); }

PF_Err IsRenderEngine(PF_Boolean* answer) {
    if (answer == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    *answer = 1;
    return PF_Err_NONE;
}

/// There is no user to pick a colour.
PF_Err AppColorPickerDialog(const A_char*, const PF_PixelFloat*, PF_Boolean, PF_PixelFloat*) {
    return PF_Interrupt_CANCEL;
}

PF_Err UpdateParamUI(PF_ProgPtr effect, A_long index, const PF_ParamDef* definition) {
    Command* const command = Command::FromReference(effect);
    if (command == nullptr || definition == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    Parameter* const parameter = command->GetHost().GetParameters().Get(index);
    if (parameter == nullptr) return PF_Err_INVALID_INDEX;
    // Only these two may change behind the definition.
    const auto take = [](A_long& own, A_long given, A_long mask) { own = (own & ~mask) | (given & mask); };
    take(parameter->mDefinition.ui_flags, definition->ui_flags, PF_PUI_DISABLED);
    take(parameter->mDefinition.flags, definition->flags, PF_ParamFlag_COLLAPSE_TWIRLY);
    return PF_Err_NONE;
}

PF_Err GetConstSequenceData(PF_ProgPtr effect, PF_ConstHandle* data) {
    Command* const command = Command::FromReference(effect);
    if (command == nullptr || data == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    *data = const_cast<PF_ConstHandle>(command->GetHost().GetSequenceData());
    return PF_Err_NONE;
}

// The device suite: what the command line asks for goes in, what the effect found comes out.
int32_t GetRequestedDevice(const char** request) {
    if (request == nullptr) return A_Err_PARAMETER;
    *request = Host::Active().GetOptions().mDevice.c_str();
    return A_Err_NONE;
}

int32_t GetValidationRequested(uint8_t* requested) {
    if (requested == nullptr) return A_Err_PARAMETER;
    *requested = Host::Active().GetOptions().mValidate ? 1 : 0;
    return A_Err_NONE;
}

int32_t ReportDevice(int32_t index, const char* name, const char* kind, uint8_t chosen, const char* reason) {
    return Guarded([&] {
        const auto text = [](const char* from) { return std::string(from == nullptr ? "" : from); };
        Host::Active().GetDevices().Add({index, text(name), text(kind), text(reason), chosen != 0});
        return A_Err_NONE;
    });
}

int32_t ReportValidationMessage(const char* text) {
    return Guarded([&] {
        Host::Active().GetDevices().AddValidationMessage(text == nullptr ? "" : text);
        return A_Err_NONE;
    });
}

}  // namespace

void AddEffectSuites(SuiteRegistry& suites) {
    static const PF_HandleSuite1 handleSuite = {NewHandle,     LockHandle,    UnlockHandle,
                                                DisposeHandle, GetHandleSize, ResizeHandle};
    static const PF_WorldSuite2 worldSuite = {NewWorld, DisposeWorld, GetPixelFormat};
    static const PFAppSuite6 appSuite = [] {
        auto table = MakeTable<PFAppSuite6>(kPFAppSuite);
        table.PF_AppGetBgColor = AppGetBgColor;
        table.PF_AppGetColor = AppGetColor;
        table.PF_IsRenderEngine = IsRenderEngine;
        table.PF_AppColorPickerDialog = AppColorPickerDialog;
        return table;
    }();
    static const PF_ParamUtilsSuite3 paramSuite = [] {
        auto table = MakeTable<PF_ParamUtilsSuite3>(kPFParamUtilsSuite);
        table.PF_UpdateParamUI = UpdateParamUI;
        return table;
    }();
    static const PF_EffectSequenceDataSuite1 sequenceSuite = {GetConstSequenceData};
    suites.Add(kPFHandleSuite, kPFHandleSuiteVersion1, &handleSuite);
    suites.Add(kPFWorldSuite, kPFWorldSuiteVersion2, &worldSuite);
    suites.Add(kPFAppSuite, kPFAppSuiteVersion6, &appSuite);
    suites.Add(kPFParamUtilsSuite, kPFParamUtilsSuiteVersion3, &paramSuite);
    suites.Add(kPFEffectSequenceDataSuite, kPFEffectSequenceDataSuiteVersion1, &sequenceSuite);
}

void AddDeviceSuite(SuiteRegistry& suites) {
    static const NimbrelDeviceSuite1 suite = {GetRequestedDevice, GetValidationRequested, ReportDevice,
                                              ReportValidationMessage};
    suites.Add(kNimbrelDeviceSuite, kNimbrelDeviceSuiteVersion1, &suite);
}

}  // namespace nimbrel::host
