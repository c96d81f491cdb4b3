#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Nimbrel/GaussianSplatAsset.h"
#include "Nimbrel/GaussianSplatAssetCreator.h"
#include "PluginBase/ComputeCache/ComputeCacheBase.h"

/// A model as a value of the compute cache: the asset, or why it could not be loaded. A failure is
/// cached too, so that a broken file is not parsed again for every frame.
class CacheableAsset final : public zeb::CacheableBase {
public:
    struct Options final : zeb::CacheableOptionsBase {
        std::u16string path;
        GaussianSplatAssetCreator::Settings settings;
    };

    /// Loads the file. What is wrong with it becomes `error`. Throws std::bad_alloc, which is nothing to remember.
    explicit CacheableAsset(const Options& options);

    /// Bytes of the asset's blocks, 0 without one.
    std::uint64_t GetSize() const override;

    bool IsLoaded() const { return asset != nullptr && error.empty(); }

    std::unique_ptr<GaussianSplatAsset> asset;
    std::string error;
};

/// Name of the cache's class of models.
inline constexpr const char* kModelCacheName = "adobe.ae.effect.velmaris.Nimbrel.modelcache_v_1";

/// The key is made of the path's code units, two bytes each, and the 20 bytes of the settings.
template <>
class zeb::CacheableCreator<CacheableAsset> final : public zeb::CacheableCreatorBase {
public:
    std::string GetName() const override { return kModelCacheName; }
    UniquePtr<CacheableBase> Create(const CacheableOptionsBase& options) override;
    CacheKey GetHash(HasherBase& hasher, const CacheableOptionsBase& options) override;
};

/// The settings that all models are made with.
GaussianSplatAssetCreator::Settings MakeModelSettings();
