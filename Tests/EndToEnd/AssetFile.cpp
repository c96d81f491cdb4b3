#include "AssetFile.h"

#include <map>
#include <memory>
#include <utility>

#include "Nimbrel/GaussianSplatAssetCreator.h"

namespace nimbrel::endtoend {

const GaussianSplatAsset& GetAsset(const std::filesystem::path& file, int quality) {
    static std::map<std::pair<std::filesystem::path, int>, std::unique_ptr<GaussianSplatAsset>> assets;
    auto& asset = assets[{file, quality}];
    if (!asset) {
        GaussianSplatAssetCreator::Settings settings;
        settings.quality = static_cast<std::uint32_t>(quality);
        settings.ApplyQualityLevel();
        asset = GaussianSplatAssetCreator::CreateAsset(file.u16string(), settings, true);
    }
    return *asset;
}

}  // namespace nimbrel::endtoend
