#include "HostInterface/NimbrelDeviceSuite.h"
#include "NimbrelHost/Commands/Command.h"
#include "Suites/SuiteSupport.h"

// The suites of effects: handles, worlds, parameters, sequence data; and the choice of the device.

namespace nimbrel::host {
namespace {

// The handle functions return no codes: failure is a null handle, a null pointer, or nothing.
PF_Handle NewHandle(Host& host, A_u_longlong size) { return host.GetHandles().New(size); }

void* LockHandle(Host& host, PF_Handle handle) { return host.GetHandles().Lock(handle); }

void UnlockHandle(Host& host, PF_Handle handle) { host.GetHandles().Unlock(handle); }

void DisposeHandle(Host& host, PF_Handle handle) { host.GetHandles().Dispose(handle); }

A_u_longlong GetHandleSize(Host& host, PF_Handle handle) { return host.GetHandles().GetSize(handle); }

PF_Err ResizeHandle(Host& host, A_u_longlong size, PF_Handle* handle) {
    return handle != nullptr && host.GetHandles().Resize(*handle, size) ? PF_Err_NONE : PF_Err_OUT_OF_MEMORY;
}

// Cleared whether asked for or not. Sides are at most those of a host's worlds.
PF_Err NewWorld(Host&, PF_ProgPtr effect, A_long width, A_long height, PF_Boolean, A_long format,
                PF_EffectWorld* record) {
    Command* const command = Command::FromReference(effect);
    const int bits = format == PF_PixelFormat_ARGB32    ? 8
                     : format == PF_PixelFormat_ARGB64  ? 16
                     : format == PF_PixelFormat_ARGB128 ? 32
                                                        : 0;
    if (command == nullptr || record == nullptr || bits == 0) return PF_Err_BAD_CALLBACK_PARAM;
    if (width < 1 || height < 1 || width > 30000 || height > 30000) return PF_Err_BAD_CALLBACK_PARAM;
    *record = *command->GetHost().AddWorld({width, height, bits})->GetRecord();
    return PF_Err_NONE;
}

PF_Err DisposeWorld(Host& host, PF_ProgPtr, PF_EffectWorld* record) {
    const bool good = record != nullptr && host.RemoveWorld(World::FromRecord(record));
    return good ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
}

// The record's flags tell 16 bits only, so the format comes from the world behind it.
PF_Err GetPixelFormat(Host&, const PF_EffectWorld* record, A_long* format) {
    const World* const world = World::FromRecord(record);
    if (world == nullptr || format == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    *format = world->GetFormat();
    return PF_Err_NONE;
}

PF_Err UpdateParamUI(Host&, PF_ProgPtr effect, A_long index, const PF_ParamDef* definition) {
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

PF_Err GetConstSequenceData(Host&, PF_ProgPtr effect, PF_ConstHandle* data) {
    Command* const command = Command::FromReference(effect);
    if (command == nullptr || data == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    *data = const_cast<PF_ConstHandle>(command->GetHost().GetSequenceData());
    return PF_Err_NONE;
}

// The device suite: what the command line asks for goes in, what the effect found comes out.
int32_t GetRequestedDevice(Host& host, const char** request) {
    if (request == nullptr) return A_Err_PARAMETER;
    *request = host.GetOptions().mDevice.c_str();
    return A_Err_NONE;
}

int32_t GetValidationRequested(Host& host, uint8_t* requested) {
    if (requested == nullptr) return A_Err_PARAMETER;
    *requested = host.GetOptions().mValidate ? 1 : 0;
    return A_Err_NONE;
}

int32_t ReportDevice(Host& host, int32_t index, const char* name, const char* kind, uint8_t chosen,
                     const char* reason) {
    const auto text = [](const char* from) { return std::string(from == nullptr ? "" : from); };
    host.GetDevices().Add({index, text(name), text(kind), text(reason), chosen != 0});
    return A_Err_NONE;
}

int32_t ReportValidationMessage(Host& host, const char* text) {
    host.GetDevices().AddValidationMessage(text == nullptr ? "" : text);
    return A_Err_NONE;
}

int32_t GetProcessorLimit(Host& host, int32_t* processors) {
    if (processors == nullptr) return A_Err_PARAMETER;
    *processors = host.GetOptions().mProcessorLimit;
    return A_Err_NONE;
}

}  // namespace

void AddEffectSuites(SuiteRegistry& suites) {
    static const PF_HandleSuite1 handleSuite = [] {
        auto table = MakeTable<PF_HandleSuite1>(kPFHandleSuite);
        NIMBREL_SERVE(table, host_new_handle, NewHandle);
        NIMBREL_SERVE(table, host_lock_handle, LockHandle);
        NIMBREL_SERVE(table, host_unlock_handle, UnlockHandle);
        NIMBREL_SERVE(table, host_dispose_handle, DisposeHandle);
        NIMBREL_SERVE(table, host_get_handle_size, GetHandleSize);
        NIMBREL_SERVE(table, host_resize_handle, ResizeHandle);
        return table;
    }();
    static const PF_WorldSuite2 worldSuite = [] {
        auto table = MakeTable<PF_WorldSuite2>(kPFWorldSuite);
        NIMBREL_SERVE(table, PF_NewWorld, NewWorld);
        NIMBREL_SERVE(table, PF_DisposeWorld, DisposeWorld);
        NIMBREL_SERVE(table, PF_GetPixelFormat, GetPixelFormat);
        return table;
    }();
    static const PF_ParamUtilsSuite3 paramSuite = [] {
        auto table = MakeTable<PF_ParamUtilsSuite3>(kPFParamUtilsSuite);
        NIMBREL_SERVE(table, PF_UpdateParamUI, UpdateParamUI);
        return table;
    }();
    static const PF_EffectSequenceDataSuite1 sequenceSuite = [] {
        auto table = MakeTable<PF_EffectSequenceDataSuite1>(kPFEffectSequenceDataSuite);
        NIMBREL_SERVE(table, PF_GetConstSequenceData, GetConstSequenceData);
        return table;
    }();
    suites.Add(kPFHandleSuite, kPFHandleSuiteVersion1, &handleSuite);
    suites.Add(kPFWorldSuite, kPFWorldSuiteVersion2, &worldSuite);
    suites.Add(kPFParamUtilsSuite, kPFParamUtilsSuiteVersion3, &paramSuite);
    suites.Add(kPFEffectSequenceDataSuite, kPFEffectSequenceDataSuiteVersion1, &sequenceSuite);
}

void AddDeviceSuite(SuiteRegistry& suites) {
    static const NimbrelDeviceSuite2 suite = [] {
        auto table = MakeTable<NimbrelDeviceSuite2>(kNimbrelDeviceSuite);
        NIMBREL_SERVE(table, GetRequestedDevice, GetRequestedDevice);
        NIMBREL_SERVE(table, GetValidationRequested, GetValidationRequested);
        NIMBREL_SERVE(table, ReportDevice, ReportDevice);
        NIMBREL_SERVE(table, ReportValidationMessage, ReportValidationMessage);
        NIMBREL_SERVE(table, GetProcessorLimit, GetProcessorLimit);
        return table;
    }();
    suites.Add(kNimbrelDeviceSuite, kNimbrelDeviceSuiteVersion2, &suite);
}

}  // namespace nimbrel::host
