#pragma once

#include <cstddef>
#include <cstdint>
#include <map>

#include "PluginBase/Parameters/Custom/CustomBase.h"

namespace zeb {

/// A curve from 0 to 1 on both axes, set by keys.
class Ramp final : public CustomBase {
public:
    enum Interpolation : std::int32_t { kCosine = 0, kLinear = 1, kStep = 2, kBezier = 3 };

    /// Keys at 0 and 1; `type` 0 is a smooth ramp (cosine), 1 one limited to linear and step.
    explicit Ramp(std::int32_t type = 0, float firstValue = 1.0F, float lastValue = 1.0F);

    float Evaluate(float t) const;
    /// Writes `count` samples; sample i is Evaluate(i / (count - 1)) to the last bit, without a search for each.
    void Fill(float* destination, std::size_t count) const;

    std::string GetTypeName() const override;
    UniquePtr<CustomBase> Clone() const override;
    UniquePtr<CustomBase> MakeInterpolated(const CustomBase& other, float t) const override;
    bool IsEqual(const CustomBase& other) const override;
    std::string ToJSON() const override;
    void FromJSON(std::string_view text) override;

    /// Writes the binary form (12 + 8 bytes a key) unless `buffer` is null; returns its size.
    std::size_t ToBin(void* buffer) const;
    /// Throws "Failed to deserialize a ramp" for data cut short, and for keys that are not finite numbers;
    /// nothing changes then.
    void FromBin(std::size_t size, const void* data);

    std::int32_t type;            // NOLINT(misc-non-private-member-variables-in-classes)
    std::int32_t interpolation;   // NOLINT(misc-non-private-member-variables-in-classes)
    std::map<float, float> keys;  ///< from t to value
};

}  // namespace zeb
