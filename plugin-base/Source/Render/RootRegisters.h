#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "PluginBase/Render/Objects.h"

/// What root signatures mean to programs, for back ends that look up each register themselves.
namespace zeb::render {

/// Letter of a register: b, t, u, s.
enum class RegisterKind : std::uint8_t { Constants, ReadOnly, ReadWrite, Sampler };

/// "t5": how texts name a register.
std::string GetRegisterName(RegisterKind kind, std::uint32_t number);

/// Where a register of a pipeline's program finds its value.
struct RegisterPlace {
    std::uint32_t mParameter = 0;  ///< index in the root signature
    std::uint32_t mTableSlot = 0;  ///< descriptor of the table, for a table
    std::uint32_t mRegister = 0;   ///< number without its kind

    bool operator==(const RegisterPlace&) const = default;
};

/// The first parameter that feeds the register, among those whose visibility `isSeen` accepts. Textures are fed by
/// tables alone.
std::optional<RegisterPlace> FindPlace(const RootSignature& signature, RegisterKind kind, std::uint32_t number,
                                       bool isTexture, const std::function<bool(ShaderVisibility)>& isSeen);

/// Throws for a visibility or a kind of range that does not exist, and for a register space other than 0. `signature`
/// is its name.
void CheckRootParameter(const RootParameter& parameter, const std::string& signature);

/// The parameters are all there is to it. `Classes` tells one back end's signatures from another's.
template <class Classes>
class RootSignatureOf final : public RootSignature {
public:
    using RootSignature::RootSignature;

protected:
    void DoAddParameter(const RootParameter& parameter) override { CheckRootParameter(parameter, GetName()); }
};

}  // namespace zeb::render
