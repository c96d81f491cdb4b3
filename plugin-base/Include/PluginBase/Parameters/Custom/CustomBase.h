#pragma once

#include <string>
#include <string_view>

#include "PluginBase/Misc/MakeUnique.h"

namespace zeb {

/// Base of the custom parameter values. They are values: an object belongs to one owner and is not
/// shared between threads. They cross every interface as JSON text.
class CustomBase {
public:
    virtual ~CustomBase() = default;
    virtual std::string GetTypeName() const = 0;
    virtual UniquePtr<CustomBase> Clone() const = 0;
    /// The value at `t` (0 to 1) of the way from this one to `other`, which must be of the same type.
    virtual UniquePtr<CustomBase> MakeInterpolated(const CustomBase& other, float t) const = 0;
    virtual bool IsEqual(const CustomBase& other) const = 0;
    virtual std::string ToJSON() const = 0;
    /// Replaces the contents. Nothing changes when the text is refused (nlohmann's parse_error, type_error).
    virtual void FromJSON(std::string_view text) = 0;
};

}  // namespace zeb
