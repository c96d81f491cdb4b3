#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include <glm/vec3.hpp>

#include "PluginBase/Parameters/Custom/CustomBase.h"

namespace zeb {

/// Colour as a function of a position from 0 to 1, set by keys.
class Gradient final : public CustomBase {
public:
    enum KeyType : std::int32_t { kLinear = 0, kSmooth = 1, kStep = 2 };
    struct Key {
        std::int32_t type = kSmooth;
        glm::vec3 color{1.0F};
    };

    explicit Gradient(std::int32_t type = kSmooth, const glm::vec3& firstColor = glm::vec3(1.0F),
                      const glm::vec3& lastColor = glm::vec3(1.0F));

    glm::vec3 GetColor(float position) const;
    /// Writes `count` entries of red, green, blue, alpha; entry i has position i / (count - 1), alpha 1.
    void Fill(float* destination, std::size_t count) const;

    /// Index of the selected key in position order, -1 for none.
    std::int32_t GetSelectedKey() const;
    void SetSelectedKey(std::int32_t index);

    std::string GetTypeName() const override;
    UniquePtr<CustomBase> Clone() const override;
    UniquePtr<CustomBase> MakeInterpolated(const CustomBase& other, float t) const override;
    bool IsEqual(const CustomBase& other) const override;
    std::string ToJSON() const override;
    void FromJSON(std::string_view text) override;

    std::map<float, Key> keys;
    std::string interactInfo;  ///< JSON text of the selected key's index; empty: nothing is selected
};

}  // namespace zeb
