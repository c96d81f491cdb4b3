#include "HostInterface/HostInterface.h"
#include "PluginBase/AE/CommandDispatch.h"

// All that the library exports.
#ifdef _WIN32
#define NIMBREL_EXPORT extern "C" __declspec(dllexport)
#else
#define NIMBREL_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace {

using Registrar = A_Err (*)(void* token, const A_u_char* name, const A_u_char* matchName, const A_u_char* category,
                            const A_u_char* entryPointName, A_long kind, A_long interfaceVersion,
                            A_long interfaceSubversion, A_long reservedInfo);

const A_u_char* ToHost(const char* text) { return reinterpret_cast<const A_u_char*>(text); }

}  // namespace

/// Every command of the host.
NIMBREL_EXPORT PF_Err EffectMain(PF_Cmd command, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[],
                                 PF_LayerDef*, void* extra) {
    return zeb::RunCommand(command, inData, outData, params, extra, zeb::CreatePlugin);
}

/// Names the library's one effect to the host.
NIMBREL_EXPORT A_Err PluginDataEntryFunction(void* token, Registrar registrar, SPBasicSuite*, const char*,
                                             const char*) {
    if (registrar == nullptr) return A_Err_PARAMETER;
    return registrar(token, ToHost(zeb::kPluginName), ToHost(zeb::kPluginMatchName), ToHost(zeb::kPluginCategory),
                     ToHost(zeb::kEntryPointName), zeb::kPluginKind, zeb::kInterfaceVersion, zeb::kInterfaceSubversion,
                     zeb::kReservedInfo);
}
