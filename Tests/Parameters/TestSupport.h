#pragma once

#include <functional>
#include <map>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "PluginBase/Misc/TextFilesLoader.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"
#include "PluginBase/Parameters/Values/ParameterAccess.h"

/// Parameters without a host, for tests.
namespace test {

/// A catalogue entry with the keys that every entry must have, and `more`.
inline std::string Entry(const std::string& control, int uniqueId, const std::string& more = "") {
    return fmt::format(R"({{"control":"{}","uniqueID":{},"fullName":"N{}","hint":"h","scriptName":"s"{}{}}})", control,
                       uniqueId, uniqueId, more.empty() ? "" : ",", more);
}

inline std::string Catalogue(const std::vector<std::string>& entries) {
    return fmt::format(R"({{"parameters":[{}]}})", fmt::join(entries, ","));
}

/// What a slider's entry must have.
inline const std::string kRange = R"("displayMin":{"value":0},"displayMax":{"value":9})";

/// A manager over a catalogue text, ready for use.
class TextManager : public zeb::ParametersManagerBase {
public:
    explicit TextManager(std::string text, zeb::ParametersManagerOptions options = {})
        : ParametersManagerBase(std::move(options)), mText(std::move(text)) {
        ParametersManagerBase::Init();
    }
    std::string_view GetDescriptionText() const override { return mText; }

private:
    std::string mText;
};

/// Values by catalogue index; what is not set has the catalogue's default.
struct Values {
    std::map<std::int32_t, std::int32_t> mInts;  ///< and pop-ups
    std::map<std::int32_t, double> mDoubles;     ///< logic units: fractions, radians
    std::map<std::int32_t, glm::vec3> mVec3s;
    std::map<std::int32_t, bool> mBools;
    std::map<std::int32_t, std::u16string> mStrings;
    std::map<std::int32_t, std::string> mCustoms;
    std::map<std::int32_t, std::string> mCustomTypes;
    std::function<void()> mBeforeInt;  ///< runs before a whole number is told
};

class ValuesGetter final : public zeb::ParameterCurrentValueGetter {
public:
    ValuesGetter(const zeb::ParametersManagerBase& manager, const Values& values)
        : ParameterCurrentValueGetter(manager), mValues(values), mDefaults(manager.GetDefaultValueGetter()) {}

protected:
    using D = zeb::ParameterDescription;
    std::int32_t DoGetInt(const D& d) const override {
        if (mValues.mBeforeInt) mValues.mBeforeInt();
        return Find(mValues.mInts, d, mDefaults.GetInt(d.mIndex));
    }
    double DoGetDouble(const D& d) const override {
        const double unit = d.mControl == zeb::ControlType::Angle ? std::numbers::pi / 180.0 : 1.0;
        return Find(mValues.mDoubles, d, mDefaults.GetDouble(d.mIndex) * unit);
    }
    glm::vec3 DoGetVec3(const D& d) const override { return Find(mValues.mVec3s, d, mDefaults.GetVec3(d.mIndex)); }
    /// Told apart from the pixel form by a factor.
    glm::vec3 DoGetRawVec3(const D& d) const override { return DoGetVec3(d) * 0.5F; }
    bool DoGetBool(const D& d) const override { return Find(mValues.mBools, d, mDefaults.GetBool(d.mIndex)); }
    std::u16string DoGetString(const D& d) const override { return Find(mValues.mStrings, d, std::u16string()); }
    std::int32_t DoGetPopup(const D& d) const override { return Find(mValues.mInts, d, mDefaults.GetPopup(d.mIndex)); }
    std::string DoGetCustom(const D& d) const override {
        return Find(mValues.mCustoms, d, mDefaults.GetCustom(d.mIndex));
    }

private:
    template <class Map>
    static typename Map::mapped_type Find(const Map& map, const D& d, typename Map::mapped_type absent) {
        const auto found = map.find(d.mIndex);
        return found == map.end() ? absent : found->second;
    }

    const Values& mValues;
    const zeb::ParameterDefaultValueGetter& mDefaults;
};

class ValuesSetter final : public zeb::ParameterValueSetter {
public:
    ValuesSetter(const zeb::ParametersManagerBase& manager, Values& values)
        : ParameterValueSetter(manager), mValues(values) {}

protected:
    using D = zeb::ParameterDescription;
    void DoSetInt(const D& d, std::int32_t value) override { mValues.mInts[d.mIndex] = value; }
    void DoSetDouble(const D& d, double value) override { mValues.mDoubles[d.mIndex] = value; }
    void DoSetVec3(const D& d, const glm::vec3& value) override { mValues.mVec3s[d.mIndex] = value; }
    void DoSetRawVec3(const D& d, const glm::vec3& value) override { mValues.mVec3s[d.mIndex] = value * 2.0F; }
    void DoSetBool(const D& d, bool value) override { mValues.mBools[d.mIndex] = value; }
    void DoSetString(const D& d, const std::u16string& value) override { mValues.mStrings[d.mIndex] = value; }
    void DoClearString(const D& d) override { mValues.mStrings[d.mIndex] = u"<cleared>"; }
    void DoSetPopup(const D& d, std::int32_t value) override { mValues.mInts[d.mIndex] = value; }
    void DoSetCustom(const D& d, const std::string& type, const std::string& json) override {
        mValues.mCustoms[d.mIndex] = json;
        mValues.mCustomTypes[d.mIndex] = type;
    }

private:
    Values& mValues;
};

}  // namespace test
