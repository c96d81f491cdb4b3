#pragma once

#include <string>
#include <unordered_map>

#include "PluginBase/Misc/Hash.h"
#include "PluginBase/Parameters/Values/ParameterAccess.h"

namespace zeb {

/// The catalogue's defaults. Filled by ParametersManagerBase::Init, read-only afterwards; a missing
/// entry reads as 0, false or an empty text. Unlike the other getters it gives an Angle in degrees.
class ParameterDefaultValueGetter final : public ParameterCurrentValueGetter {
public:
    using ParameterCurrentValueGetter::ParameterCurrentValueGetter;

    void StoreInt(std::int32_t index, std::int32_t value) { mInts[index] = value; }
    void StoreDouble(std::int32_t index, double value) { mDoubles[index] = value; }
    void StoreVec3(std::int32_t index, const glm::vec3& value) { mVec3s[index] = value; }
    void StoreBool(std::int32_t index, bool value) { mBools[index] = value; }
    void StorePopup(std::int32_t index, std::int32_t value) { mPopups[index] = value; }
    void StoreCustom(std::int32_t index, std::string json) { mCustoms[index] = std::move(json); }

protected:
    std::int32_t DoGetInt(const ParameterDescription& description) const override;
    double DoGetDouble(const ParameterDescription& description) const override;
    glm::vec3 DoGetVec3(const ParameterDescription& description) const override;
    glm::vec3 DoGetRawVec3(const ParameterDescription& description) const override;
    bool DoGetBool(const ParameterDescription& description) const override;
    std::u16string DoGetString(const ParameterDescription& description) const override;
    std::int32_t DoGetPopup(const ParameterDescription& description) const override;
    std::string DoGetCustom(const ParameterDescription& description) const override;

private:
    template <class T>
    using Map = std::unordered_map<std::int32_t, T, IntegerHash>;

    Map<std::int32_t> mInts;
    Map<double> mDoubles;
    Map<glm::vec3> mVec3s;
    Map<bool> mBools;
    Map<std::int32_t> mPopups;
    Map<std::string> mCustoms;
};

}  // namespace zeb
