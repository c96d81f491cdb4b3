#include "AssetFile.h"

#include <map>
#include <memory>

#include "Nimbrel/GaussianSplatAssetCreator.h"

namespace nimbrel::endtoend {

const GaussianSplatAsset& GetAsset(const std::filesystem::path& file) {
    static std::map<std::filesystem::path, std::unique_ptr<GaussianSplatAsset>> assets;
    auto& asset = assets[file];
    if (!asset) {
        GaussianSplatAssetCreator::Settings settings;
        settings.ApplyQualityLevel();
        asset = GaussianSplatAssetCreator::CreateAsset(file.u16string(), settings, true);
    }
    return *asset;
}

}  // namespace nimbrel::endtoend
