#include "PluginBase/AE/CommandDispatch.h"

#include <array>
#include <cstring>
#include <new>

#include <fmt/format.h>

#include "PluginBase/AE/AllocatorAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"

namespace zeb {
namespace {

// The global data holds the owner of the effect's object and room to spare.
constexpr std::size_t kGlobalDataSize = 72;

struct GlobalData {
    UniquePtr<PluginBaseAE> mPlugin;
};
static_assert(sizeof(GlobalData) <= kGlobalDataSize);

struct Arguments {
    PF_Cmd mCommand;
    PF_ParamDef** mParams;
    void* mExtra;
    PluginFactory mCreatePlugin;

    /// The command's own record.
    template <class T>
    T* GetExtra() const {
        if (mExtra == nullptr)
            ZEB_THROW(PF_Err_BAD_CALLBACK_PARAM, fmt::format("The command {} came without its data", mCommand));
        return static_cast<T*>(mExtra);
    }
};

using Handler = void (*)(PluginBaseAE& plugin, const Arguments& arguments);

constexpr std::size_t kCommandCount = 29;

constexpr std::array<Handler, kCommandCount> MakeHandlers() {
    std::array<Handler, kCommandCount> handlers{};
    handlers[PF_Cmd_ABOUT] = [](PluginBaseAE& plugin, const Arguments&) { plugin.About(); };
    handlers[PF_Cmd_GLOBAL_SETUP] = [](PluginBaseAE& plugin, const Arguments&) { plugin.GlobalSetup(); };
    handlers[PF_Cmd_GLOBAL_SETDOWN] = [](PluginBaseAE& plugin, const Arguments&) { plugin.GlobalSetdown(); };
    handlers[PF_Cmd_PARAMS_SETUP] = [](PluginBaseAE& plugin, const Arguments&) { plugin.ParamsSetup(); };
    handlers[PF_Cmd_SEQUENCE_SETUP] = [](PluginBaseAE& plugin, const Arguments&) { plugin.SequenceSetup(); };
    handlers[PF_Cmd_SEQUENCE_RESETUP] = [](PluginBaseAE& plugin, const Arguments&) { plugin.SequenceResetup(); };
    handlers[PF_Cmd_SEQUENCE_FLATTEN] = [](PluginBaseAE& plugin, const Arguments&) { plugin.SequenceFlatten(); };
    handlers[PF_Cmd_SEQUENCE_SETDOWN] = [](PluginBaseAE& plugin, const Arguments&) { plugin.SequenceSetdown(); };
    handlers[PF_Cmd_USER_CHANGED_PARAM] = [](PluginBaseAE& plugin, const Arguments& arguments) {
        plugin.UserChangedParam(arguments.mParams, arguments.GetExtra<PF_UserChangedParamExtra>());
    };
    handlers[PF_Cmd_UPDATE_PARAMS_UI] = [](PluginBaseAE& plugin, const Arguments& arguments) {
        plugin.UpdateParamsUI(arguments.mParams);
    };
    handlers[PF_Cmd_EVENT] = [](PluginBaseAE& plugin, const Arguments& arguments) {
        plugin.Event(arguments.mParams, arguments.GetExtra<PF_EventExtra>());
    };
    handlers[PF_Cmd_QUERY_DYNAMIC_FLAGS] = [](PluginBaseAE& plugin, const Arguments&) { plugin.QueryDynamicFlags(); };
    handlers[PF_Cmd_ARBITRARY_CALLBACK] = [](PluginBaseAE& plugin, const Arguments& arguments) {
        plugin.ArbitraryCallback(arguments.GetExtra<PF_ArbParamsExtra>());
    };
    handlers[PF_Cmd_SMART_PRE_RENDER] = [](PluginBaseAE& plugin, const Arguments& arguments) {
        plugin.SmartPreRender(arguments.GetExtra<PF_PreRenderExtra>());
    };
    handlers[PF_Cmd_SMART_RENDER] = [](PluginBaseAE& plugin, const Arguments& arguments) {
        plugin.SmartRender(arguments.GetExtra<PF_SmartRenderExtra>());
    };
    handlers[PF_Cmd_GET_FLATTENED_SEQUENCE_DATA] = [](PluginBaseAE& plugin, const Arguments&) {
        plugin.GetFlattenedSequenceData();
    };
    return handlers;
}

constexpr std::array<Handler, kCommandCount> kHandlers = MakeHandlers();

/// Makes the effect's object inside a new handle.
void CreateGlobalData(PluginFactory createPlugin) {
    PF_Handle handle = AllocateHandle(kGlobalDataSize);
    try {
        void* memory = handle::LockOrThrow(handle);
        std::memset(memory, 0, kGlobalDataSize);
        ::new (memory) GlobalData{createPlugin()};
    } catch (...) {
        FreeHandle(handle);
        throw;
    }
    OutData()->global_data = handle;
    InData()->global_data = handle;
    UnlockHandle(handle);
}

/// Destroys the effect's object. The host keeps no global data after this.
void DestroyGlobalData() {
    PF_Handle handle = InData()->global_data;
    if (handle == nullptr) return;
    handle::Delete<GlobalData>(handle);
    InData()->global_data = nullptr;
    OutData()->global_data = nullptr;
}

PluginBaseAE& GetPlugin() {
    // Unlocked between commands: the memory is reached through the handle.
    PF_Handle handle = InData()->global_data;
    auto* data = handle == nullptr ? nullptr : static_cast<GlobalData*>(static_cast<void*>(*handle));
    if (data == nullptr || !data->mPlugin) ZEB_THROW(kInternalError, "The effect was not set up");
    return *data->mPlugin;
}

void SetUp(const Arguments& arguments) {
    CreateGlobalData(arguments.mCreatePlugin);
    try {
        kHandlers[PF_Cmd_GLOBAL_SETUP](GetPlugin(), arguments);
    } catch (...) {
        // A host that is told of the failure sends no set-down.
        DestroyGlobalData();
        throw;
    }
    InData()->global_data = nullptr;
}

void SetDown(const Arguments& arguments) {
    if (InData()->global_data == nullptr) return;
    try {
        kHandlers[PF_Cmd_GLOBAL_SETDOWN](GetPlugin(), arguments);
    } catch (...) {
        DestroyGlobalData();
        throw;
    }
    DestroyGlobalData();
}

void Run(const Arguments& arguments) {
    if (arguments.mCommand < 0 || static_cast<std::size_t>(arguments.mCommand) >= kCommandCount) return;
    const Handler handler = kHandlers[static_cast<std::size_t>(arguments.mCommand)];
    if (handler == nullptr) return;
    switch (arguments.mCommand) {
        case PF_Cmd_GLOBAL_SETUP: SetUp(arguments); return;
        case PF_Cmd_GLOBAL_SETDOWN: SetDown(arguments); return;
        case PF_Cmd_SMART_RENDER: SetSmartRenderExtra(arguments.GetExtra<PF_SmartRenderExtra>()); break;
        default: break;
    }
    handler(GetPlugin(), arguments);
}

}  // namespace

PF_Err RunCommand(PF_Cmd command, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[], void* extra,
                  PluginFactory createPlugin) noexcept {
    const CleanupReport cleanups(outData);  // outlives the context, whose end gives back too
    try {
        const ThreadContextScope scope(inData, outData, params);
        Run({command, params, extra, createPlugin});
        return PF_Err_NONE;
    } catch (const Exception& exception) {
        ReportError(outData, exception.what());
        return exception.code;
    } catch (const std::exception& exception) {
        // No memory is taken here: running out of it is one of the failures.
        char text[sizeof(PF_OutData::return_msg)];
        const auto end =
            fmt::format_to_n(text, sizeof(text), "Unexpected exception with message \"{}\"", exception.what()).out;
        ReportError(outData, std::string_view(text, static_cast<std::size_t>(end - text)));
    } catch (int code) {
        ReportError(outData, fmt::format("Unexpected exception with code {}", GetErrorCodeName(code)));
        return code;
    } catch (...) {
        ReportError(outData, "Unexpected exception");
    }
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
}

}  // namespace zeb
