#include "CustomForms.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <initializer_list>

namespace nimbrel::host {
namespace {

void RequireKeys(const JsonView& view, std::initializer_list<std::string_view> keys) {
    for (const std::string_view key : keys) {
        if (!view.Has(key)) view.Fail(fmt::format("an object with \"{}\"", key));
    }
}

/// What stands at "keys": pairs of a position and what `check` takes.
template <class Check>
void CheckKeys(const JsonView& keys, std::string_view expected, Check check) {
    for (std::size_t i = 0; i < keys.RequireArray("an array of keys"); ++i) {
        const JsonView key = keys.Element(i);
        if (key.RequireArray(expected) != 2) key.Fail(expected);
        key.Element(0).NumberBetween(0, 1);
        check(key.Element(1));
    }
}

void CheckRamp(const JsonView& view) {
    constexpr int kTypes = 2, kInterpolations = 4;
    view.RequireObject({"type", "interpolation", "keys"});
    RequireKeys(view, {"type", "interpolation", "keys"});
    view.Member("type").IntegerBetween(0, kTypes - 1);
    view.Member("interpolation").IntegerBetween(0, kInterpolations - 1);
    CheckKeys(view.Member("keys"), "a key [position, value]", [](const JsonView& value) { value.NumberBetween(0, 1); });
}

// Colours above 1 brighten.
void CheckColor(const JsonView& view) {
    constexpr std::string_view expected = "a colour [red, green, blue] of numbers of at least 0";
    if (view.RequireArray(expected) != 3) view.Fail(expected);
    for (std::size_t i = 0; i < 3; ++i) {
        if (view.Element(i).Number() < 0) view.Element(i).Fail("a number of at least 0");
    }
}

void CheckGradient(const JsonView& view) {
    constexpr int kTypes = 3;
    view.RequireObject({"keys", "interactInfo"});
    RequireKeys(view, {"keys"});
    CheckKeys(view.Member("keys"), "a key [position, {\"color\": [red, green, blue], \"type\": number}]",
              [](const JsonView& value) {
                  value.RequireObject({"color", "type"});
                  RequireKeys(value, {"color", "type"});
                  CheckColor(value.Member("color"));
                  value.Member("type").IntegerBetween(0, kTypes - 1);
              });
}

}  // namespace

void CheckCustomForm(std::string_view valueType, const JsonView& view) {
    if (valueType == "Ramp") CheckRamp(view);
    if (valueType == "Gradient") CheckGradient(view);
}

}  // namespace nimbrel::host
