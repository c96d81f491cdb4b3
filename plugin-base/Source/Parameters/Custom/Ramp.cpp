// A curve by keys. Evaluate and Fill share the arithmetic of a span, so that a sampled curve and a single
// value never differ; all of it is in floats, since the samples go to the GPU as floats.
#include "PluginBase/Parameters/Custom/Ramp.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include <fmt/format.h>

#include "../Values/JsonRead.h"
#include "PluginBase/Exception.h"

namespace zeb {
namespace {

using Keys = std::map<float, float>;
using KeyIterator = Keys::const_iterator;

/// Into 0 to 1; what is no number becomes 0.
float Clamp01(float value) { return value > 0.0F ? std::min(value, 1.0F) : 0.0F; }

/// A cubic Bezier's coordinate at p, in Bernstein form: its ends are a and d, its handles b and c.
float Cubic(float a, float b, float c, float d, float p) {
    const float q = 1.0F - p;
    return q * q * q * a + 3.0F * q * q * p * b + 3.0F * q * p * p * c + p * p * p * d;
}

/// Distance in t, in curve units, at which the search for a curve parameter stops.
constexpr float kTolerance = 0.001F;
/// Halvings after the first; then the span left is 1/32 of the curve and taken as straight.
constexpr int kBisections = 4;

/// Curve parameter at which the cubic of x0 to x3 comes to t, which lies from x0 up to x3.
float SolveCubic(float x0, float x1, float x2, float x3, float t) {
    if (x0 + kTolerance >= t) return 0.0F;
    if (t >= x3 - kTolerance) return 1.0F;
    // Throughout xLow <= t < xHigh, so the division at the end is by a positive number.
    float low = 0.0F;
    float high = 1.0F;
    float xLow = x0;
    float xHigh = x3;
    const auto halve = [&] {
        const float middle = 0.5F * (low + high);
        const float x = Cubic(x0, x1, x2, x3, middle);
        (t < x ? high : low) = middle;
        (t < x ? xHigh : xLow) = x;
    };
    halve();
    for (int i = 0; i < kBisections; ++i) {
        if (xLow + kTolerance >= t) return low;
        if (t >= xHigh - kTolerance) return high;
        halve();
    }
    return (t - xLow) / (xHigh - xLow) * (high - low) + low;
}

/// Cubic between keys a and b, with handles that follow the neighbours p and n.
float EvaluateBezier(const Keys& keys, KeyIterator a, KeyIterator b, float t) {
    const KeyIterator p = a == keys.begin() ? a : std::prev(a);
    const KeyIterator n = std::next(b) == keys.end() ? b : std::next(b);
    // A handle reaches over 0.3 of the direction between its key's neighbours, less where the span before or
    // after is long beside this one. hypot cannot underflow, so a short span does not divide 0 by 0.
    const float length = std::hypot(b->first - a->first, b->second - a->second);
    const float before = std::hypot(a->first - p->first, a->second - p->second);
    const float after = std::hypot(n->first - b->first, n->second - b->second);
    const float s1 = 0.3F * length / (before + length);
    const float s2 = 0.3F * length / (after + length);
    const float x1 = a->first + (b->first - p->first) * s1;
    const float y1 = a->second + (b->second - p->second) * s1;
    const float x2 = b->first - (n->first - a->first) * s2;
    const float y2 = b->second - (n->second - a->second) * s2;
    return Cubic(a->second, y1, y2, b->second, SolveCubic(a->first, x1, x2, b->first, t));
}

/// The curve at t, where `b` is the first key above t.
float EvaluateSpan(const Keys& keys, KeyIterator b, float t, std::int32_t interpolation) {
    if (b == keys.begin()) return Clamp01(b->second);
    const KeyIterator a = std::prev(b);
    if (b == keys.end()) return Clamp01(a->second);
    const float u = (t - a->first) / (b->first - a->first);
    switch (interpolation) {
        case Ramp::kCosine: {
            const float c = std::cos(u * 3.1415927F);
            return Clamp01((0.5F - 0.5F * c) * (b->second - a->second) + a->second);
        }
        case Ramp::kLinear: return Clamp01((b->second - a->second) * u + a->second);
        case Ramp::kStep: return Clamp01(a->second);
        case Ramp::kBezier: return Clamp01(EvaluateBezier(keys, a, b, t));
        default: return 1.0F;
    }
}

/// Reads a value of the binary form and moves on.
template <class T>
T ReadBin(const unsigned char*& data, std::size_t& size) {
    if (size < sizeof(T)) ZEB_THROW(kInternalError, "Failed to deserialize a ramp");
    T value;
    std::memcpy(&value, data, sizeof(T));
    data += sizeof(T);
    size -= sizeof(T);
    return value;
}

}  // namespace

Ramp::Ramp(std::int32_t rampType, float firstValue, float lastValue)
    : type(rampType), interpolation(rampType == 0 ? kCosine : kLinear), keys{{0.0F, firstValue}, {1.0F, lastValue}} {}

float Ramp::Evaluate(float t) const {
    return keys.empty() ? 1.0F : EvaluateSpan(keys, keys.upper_bound(t), t, interpolation);
}

void Ramp::Fill(float* destination, std::size_t count) const {
    if (keys.empty()) {
        std::fill_n(destination, count, 1.0F);
        return;
    }
    // Positions rise, so the first key above each is found by walking on from the last one's.
    KeyIterator b = keys.begin();
    for (std::size_t i = 0; i < count; ++i) {
        const float t = static_cast<float>(i) / static_cast<float>(count - 1);
        while (b != keys.end() && !(t < b->first)) ++b;
        destination[i] = EvaluateSpan(keys, b, t, interpolation);
    }
}

std::string Ramp::GetTypeName() const { return "Ramp"; }

UniquePtr<CustomBase> Ramp::Clone() const { return MakeUnique<Ramp>(*this); }

UniquePtr<CustomBase> Ramp::MakeInterpolated(const CustomBase& otherBase, float t) const {
    const auto* other = dynamic_cast<const Ramp*>(&otherBase);
    if (other == nullptr || std::isnan(t))
        ZEB_THROW(kInternalError,
                  fmt::format("Failed to interpolate a ramp and a {} at {}", otherBase.GetTypeName(), t));
    // Type and interpolation cannot be blended: this ramp's stand until the host moves to the other.
    const float w = 1.0F - t;
    auto result = MakeUnique<Ramp>(type);
    result->interpolation = interpolation;
    result->keys.clear();
    // A ramp without keys stands for the constant 1 at the other's positions.
    if (keys.empty() || other->keys.empty()) {
        for (const auto& [position, value] : keys) result->keys[position] = w * value + t;
        for (const auto& [position, value] : other->keys) result->keys[position] = w + t * value;
        return result;
    }
    // Keys pair up by their place in the order; the shorter side's last key stands in for what it lacks.
    auto a = keys.begin();
    auto b = other->keys.begin();
    for (std::size_t i = 0; i < std::max(keys.size(), other->keys.size()); ++i) {
        result->keys[w * a->first + t * b->first] = w * a->second + t * b->second;
        if (std::next(a) != keys.end()) ++a;
        if (std::next(b) != other->keys.end()) ++b;
    }
    return result;
}

bool Ramp::IsEqual(const CustomBase& otherBase) const {
    const auto* other = dynamic_cast<const Ramp*>(&otherBase);
    if (other == nullptr || keys.size() != other->keys.size() || type != other->type ||
        interpolation != other->interpolation)
        return false;
    return std::all_of(keys.begin(), keys.end(), [other](const auto& key) {
        const auto found = other->keys.find(key.first);
        return found != other->keys.end() && std::fabs(found->second - key.second) <= 1e-5F;
    });
}

std::string Ramp::ToJSON() const {
    json::Json array = json::Json::array();
    for (const auto& [position, value] : keys) array.push_back({position, value});
    return json::Json{{"type", type}, {"interpolation", interpolation}, {"keys", std::move(array)}}.dump();
}

void Ramp::FromJSON(std::string_view text) {
    // Everything is read before anything is replaced.
    const json::Json value = json::Parse(text);
    const std::int32_t newType = json::ReadInt32(json::Field(value, "type"));
    const std::int32_t newInterpolation = json::ReadInt32(json::Field(value, "interpolation"));
    Keys newKeys;
    for (const json::Json& pair : json::Array(json::Field(value, "keys"))) {
        const json::Json& key = json::Array(pair, 2);
        const float position = json::ReadFloat(key[0]);
        newKeys[position] = json::ReadFloat(key[1]);
    }
    type = newType;
    interpolation = newInterpolation;
    keys.swap(newKeys);
}

std::size_t Ramp::ToBin(void* buffer) const {
    // Two int32, the count as int32, then position and value of each key, in ascending order.
    const std::size_t size = 12 + 8 * keys.size();
    if (buffer == nullptr) return size;
    auto* bytes = static_cast<unsigned char*>(buffer);
    const auto write = [&bytes](const auto& value) {
        std::memcpy(bytes, &value, sizeof(value));
        bytes += sizeof(value);
    };
    write(type);
    write(interpolation);
    write(static_cast<std::int32_t>(keys.size()));
    for (const auto& [position, value] : keys) {
        write(position);
        write(value);
    }
    return size;
}

void Ramp::FromBin(std::size_t size, const void* data) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    const auto newType = ReadBin<std::int32_t>(bytes, size);
    const auto newInterpolation = ReadBin<std::int32_t>(bytes, size);
    const auto count = ReadBin<std::int32_t>(bytes, size);
    Keys newKeys;
    for (std::int32_t i = 0; i < count; ++i) {
        const auto position = ReadBin<float>(bytes, size);
        const auto value = ReadBin<float>(bytes, size);
        // A position that is no number has no place in the order of the keys.
        if (!std::isfinite(position) || !std::isfinite(value))
            ZEB_THROW(kInternalError, fmt::format("Failed to deserialize a ramp: key {} is not a finite number", i));
        newKeys[position] = value;
    }
    type = newType;
    interpolation = newInterpolation;
    keys.swap(newKeys);
}

}  // namespace zeb
