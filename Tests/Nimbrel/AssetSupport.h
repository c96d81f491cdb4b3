#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "GaussianSplatAssetCreator.h"
#include "PlyBuilder.h"

inline GaussianSplatAssetCreator::Settings GetSettings(std::uint32_t quality) {
    GaussianSplatAssetCreator::Settings settings;
    settings.quality = quality;
    settings.ApplyQualityLevel();
    return settings;
}

/// The asset of a file of the given bytes.
inline std::unique_ptr<GaussianSplatAsset> Create(std::string_view bytes, std::uint32_t quality = 2) {
    const TemporaryFile file(bytes);
    return GaussianSplatAssetCreator::CreateAsset(file.GetPath(), GetSettings(quality), true);
}

/// The value at `index` of a block of such values.
template <class T>
T ReadAt(const std::vector<std::uint8_t>& block, std::size_t index) {
    T value;
    std::memcpy(&value, block.data() + index * sizeof(T), sizeof(T));
    return value;
}

/// The first `count` values of a block, or all of them.
template <class T>
std::vector<T> ReadAll(const std::vector<std::uint8_t>& block, std::size_t count = SIZE_MAX) {
    std::vector<T> values(std::min(count, block.size() / sizeof(T)));
    if (!values.empty()) std::memcpy(values.data(), block.data(), values.size() * sizeof(T));
    return values;
}
