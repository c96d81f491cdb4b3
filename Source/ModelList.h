#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Nimbrel/CacheableAsset.h"
#include "Nimbrel/ModelGroup.h"
#include "PluginBase/ComputeCache/ComputeCacheBase.h"
#include "PluginBase/DrawInfo.h"

class Plugin;

/// The shown models of one frame, grouped by file, each asset checked out for the list's life.
class ModelList {
public:
    /// Loads what the cache lacks, with a progress of one step for each file between a first and a last.
    /// Throws zeb::Exception naming the path of a model that cannot be read.
    static ModelList Load(Plugin& plugin, const zeb::DrawInfo& drawInfo);

    /// Takes the last step of the progress, if there was something to load.
    void EndProgress(Plugin& plugin) const;

    const std::vector<ModelGroup>& GetGroups() const { return mGroups; }

private:
    /// A slot that has a file and is shown.
    struct Slot {
        std::uint32_t mModelIndex = 0;
        std::string mPathText;
        std::u16string mPath;
    };
    static std::vector<Slot> GetShownSlots(const zeb::DrawInfo& drawInfo);
    void AddSlot(const Slot& slot, zeb::ComputeCacheResult<CacheableAsset> model, const zeb::DrawInfo& drawInfo);

    // One entry of each for a distinct path.
    std::vector<ModelGroup> mGroups;
    std::vector<std::u16string> mPaths;
    std::vector<zeb::ComputeCacheResult<CacheableAsset>> mCheckouts;
    std::int32_t mProgressTotal = 0;  ///< 0: nothing had to be loaded
};
