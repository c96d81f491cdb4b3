#include "PluginBase/Parameters/ParameterDefaultValueGetter.h"

namespace zeb {
namespace {

/// The stored value, or the type's zero.
template <class Map>
typename Map::mapped_type Find(const Map& map, std::int32_t index) {
    const auto found = map.find(index);
    return found == map.end() ? typename Map::mapped_type() : found->second;
}

}  // namespace

std::int32_t ParameterDefaultValueGetter::DoGetInt(const ParameterDescription& d) const {
    return Find(mInts, d.mIndex);
}

double ParameterDefaultValueGetter::DoGetDouble(const ParameterDescription& d) const {
    const double value = Find(mDoubles, d.mIndex);
    return d.HasFlag(ParameterFlag::DisplayPercent) ? value * 0.01 : value;
}

glm::vec3 ParameterDefaultValueGetter::DoGetVec3(const ParameterDescription& d) const {
    const auto found = mVec3s.find(d.mIndex);
    return found == mVec3s.end() ? glm::vec3(0.0F) : found->second;
}

glm::vec3 ParameterDefaultValueGetter::DoGetRawVec3(const ParameterDescription& d) const { return DoGetVec3(d); }
bool ParameterDefaultValueGetter::DoGetBool(const ParameterDescription& d) const { return Find(mBools, d.mIndex); }
std::u16string ParameterDefaultValueGetter::DoGetString(const ParameterDescription&) const { return {}; }
std::int32_t ParameterDefaultValueGetter::DoGetPopup(const ParameterDescription& d) const {
    return Find(mPopups, d.mIndex);
}
std::string ParameterDefaultValueGetter::DoGetCustom(const ParameterDescription& d) const {
    return Find(mCustoms, d.mIndex);
}

}  // namespace zeb
