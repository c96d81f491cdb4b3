// Colours by keys. The type of a key says how colour runs from it to the next one.
#include "PluginBase/Parameters/Custom/Gradient.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include <fmt/format.h>

#include "../Values/JsonRead.h"
#include "PluginBase/Exception.h"

namespace zeb {
namespace {

using Keys = std::map<float, Gradient::Key>;

glm::vec3 Blend(const glm::vec3& a, const glm::vec3& b, float u) { return (1.0F - u) * a + u * b; }

/// The colour at t, where `b` is the first key above t.
glm::vec3 GetSpanColor(const Keys& keys, Keys::const_iterator b, float t) {
    if (b == keys.begin()) return b->second.color;
    const auto a = std::prev(b);
    if (b == keys.end() || a->second.type == Gradient::kStep) return a->second.color;
    float u = (t - a->first) / (b->first - a->first);
    // Smooth is not a pure cosine: three tenths of the straight line keep some slope at the keys.
    if (a->second.type == Gradient::kSmooth) u = (0.5F - 0.5F * std::cos(u * 3.1415927F)) * 0.7F + u * 0.3F;
    return Blend(a->second.color, b->second.color, u);
}

Gradient::Key ReadKey(const json::Json& value) {
    const json::Json& color = json::Array(json::Field(value, "color"), 3);
    Gradient::Key key;
    for (int i = 0; i < 3; ++i) key.color[i] = json::ReadFloat(color[static_cast<std::size_t>(i)]);
    key.type = json::ReadInt32(json::Field(value, "type"));
    return key;
}

}  // namespace

Gradient::Gradient(std::int32_t type, const glm::vec3& firstColor, const glm::vec3& lastColor)
    : keys{{0.0F, Key{type, firstColor}}, {1.0F, Key{type, lastColor}}} {}

glm::vec3 Gradient::GetColor(float position) const {
    return keys.empty() ? glm::vec3(0.0F) : GetSpanColor(keys, keys.upper_bound(position), position);
}

void Gradient::Fill(float* destination, std::size_t count) const {
    // Positions rise, so the first key above each is found by walking on from the last one's.
    auto b = keys.begin();
    for (std::size_t i = 0; i < count; ++i) {
        const float t = static_cast<float>(i) / static_cast<float>(count - 1);
        while (b != keys.end() && !(t < b->first)) ++b;
        const glm::vec3 color = keys.empty() ? glm::vec3(0.0F) : GetSpanColor(keys, b, t);
        for (int c = 0; c < 3; ++c) *destination++ = color[c];
        *destination++ = 1.0F;
    }
}

std::int32_t Gradient::GetSelectedKey() const {
    return interactInfo.empty() ? -1 : json::ReadInt32(json::Parse(interactInfo));
}

void Gradient::SetSelectedKey(std::int32_t index) {
    interactInfo = index == -1 ? std::string() : std::to_string(index);
}

std::string Gradient::GetTypeName() const { return "Gradient"; }

UniquePtr<CustomBase> Gradient::Clone() const { return MakeUnique<Gradient>(*this); }

UniquePtr<CustomBase> Gradient::MakeInterpolated(const CustomBase& otherBase, float t) const {
    const auto* other = dynamic_cast<const Gradient*>(&otherBase);
    if (other == nullptr || std::isnan(t))
        ZEB_THROW(kInternalError,
                  fmt::format("Failed to interpolate a gradient and a {} at {}", otherBase.GetTypeName(), t));
    const float w = 1.0F - t;
    auto result = MakeUnique<Gradient>();
    result->keys.clear();
    // A gradient without keys stands for black at the other's positions.
    if (keys.empty() || other->keys.empty()) {
        for (const auto& [position, key] : keys) result->keys[position] = {key.type, w * key.color};
        for (const auto& [position, key] : other->keys) result->keys[position] = {key.type, t * key.color};
        return result;
    }
    // Keys pair up by their place in the order; the shorter side's last key stands in for what it lacks.
    auto a = keys.begin();
    auto b = other->keys.begin();
    for (std::size_t i = 0; i < std::max(keys.size(), other->keys.size()); ++i) {
        result->keys[w * a->first + t * b->first] = {a->second.type, Blend(a->second.color, b->second.color, t)};
        if (std::next(a) != keys.end()) ++a;
        if (std::next(b) != other->keys.end()) ++b;
    }
    return result;
}

bool Gradient::IsEqual(const CustomBase& otherBase) const {
    const auto* other = dynamic_cast<const Gradient*>(&otherBase);
    if (other == nullptr || keys.size() != other->keys.size()) return false;
    return std::all_of(keys.begin(), keys.end(), [other](const auto& key) {
        const auto found = other->keys.find(key.first);
        if (found == other->keys.end()) return false;
        const glm::vec3 difference = found->second.color - key.second.color;
        return std::fabs(difference.x) <= 1e-5F && std::fabs(difference.y) <= 1e-5F && std::fabs(difference.z) <= 1e-5F;
    });
}

std::string Gradient::ToJSON() const {
    json::Json array = json::Json::array();
    for (const auto& [position, key] : keys) {
        array.push_back(
            json::Json::array({position, {{"color", {key.color.x, key.color.y, key.color.z}}, {"type", key.type}}}));
    }
    json::Json value{{"keys", std::move(array)}};
    if (!interactInfo.empty()) value["interactInfo"] = json::Parse(interactInfo);
    return value.dump();
}

void Gradient::FromJSON(std::string_view text) {
    const json::Json value = json::Parse(text);
    Keys newKeys;
    for (const json::Json& pair : json::Array(json::Field(value, "keys"))) {
        const json::Json& key = json::Array(pair, 2);
        const float position = json::ReadFloat(key[0]);
        newKeys[position] = ReadKey(key[1]);
    }
    // The selection is kept as text, whatever it is: only who asks for a number needs it to be one.
    std::string newInteractInfo = value.contains("interactInfo") ? value["interactInfo"].dump() : std::string();
    keys.swap(newKeys);
    interactInfo.swap(newInteractInfo);
}

}  // namespace zeb
