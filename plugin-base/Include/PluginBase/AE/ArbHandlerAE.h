#pragma once

#include <cstdint>
#include <string_view>

#include "HostInterface/HostInterface.h"
#include "PluginBase/Parameters/Custom/CustomBase.h"
#include "PluginBase/Parameters/Values/ParameterDescription.h"

namespace zeb {

/// What the host asks of an arbitrary data parameter; one static object for each custom type, whose
/// address travels through the host. A host handle holds the object itself, never a copy of its bytes.
/// Returned handles are the host's. Thread: any with a context, several at once.
class ArbHandlerBase {
public:
    virtual ~ArbHandlerBase() = default;
    virtual PF_Handle New() const = 0;
    virtual void Dispose(PF_Handle handle) const = 0;
    virtual PF_Handle Copy(PF_Handle source) const = 0;
    virtual std::uint32_t GetFlatSize(PF_Handle handle) const = 0;
    virtual void Flatten(PF_Handle handle, std::uint32_t size, void* buffer) const = 0;
    virtual PF_Handle Unflatten(std::uint32_t size, const void* buffer) const = 0;
    virtual PF_Handle Interpolate(PF_Handle left, PF_Handle right, double t) const = 0;
    virtual PF_ArbCompareResult Compare(PF_Handle a, PF_Handle b) const = 0;
    /// Bytes of the printed text with its terminator.
    virtual std::uint32_t GetPrintSize(PF_Handle handle) const = 0;
    virtual void Print(PF_Handle handle, std::uint32_t size, char* buffer) const = 0;
    virtual PF_Handle Scan(std::string_view text) const = 0;
    /// The object in the handle, locked.
    virtual UniquePtr<CustomBase> LockObject(PF_Handle handle) const = 0;
};

/// Carries out one callback of the host.
void HandleArbitraryCallback(PF_ArbParamsExtra& extra);

/// The handler of "Ramp" or "Gradient". Throws zeb::Exception for other names.
ArbHandlerBase& GetArbHandler(std::string_view valueType);

/// Sets the handle factory and the handler of a custom parameter's settings by its type.
void CompleteCustomSettingsAE(ParameterCustomSettings& settings);

}  // namespace zeb
