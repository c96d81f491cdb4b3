#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "RenderFailure.h"

/// The interface's enumerations in a back end's terms: tables, and one text for a value that has no row.
namespace zeb::render {

template <class Key, class Value>
struct EnumRow {
    Key mKey;
    Value mValue;
};

template <class Key>
[[noreturn]] void ThrowUnknownValue(Key key, std::string_view what) {
    ZEB_RENDER_THROW("Failed to get the {} for the value of {}", what, static_cast<std::uint32_t>(key));
}

template <class Key, class Value, std::size_t Count>
std::optional<Value> FindValue(const std::array<EnumRow<Key, Value>, Count>& table, Key key) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const auto& row) { return row.mKey == key; });
    if (found == table.end()) return std::nullopt;
    return found->mValue;
}

template <class Key, class Value, std::size_t Count>
Value GetValue(const std::array<EnumRow<Key, Value>, Count>& table, Key key, std::string_view what) {
    const std::optional<Value> value = FindValue(table, key);
    if (!value) ThrowUnknownValue(key, what);
    return *value;
}

/// Throws for a value beyond an enumeration's last.
template <class Key>
void CheckEnumeration(Key key, Key last, std::string_view what) {
    if (key > last) ThrowUnknownValue(key, what);
}

}  // namespace zeb::render
