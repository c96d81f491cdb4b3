#include "Nimbrel/CacheableAsset.h"

#include <new>

#include "Nimbrel/PLYFileReader.h"
#include "PluginBase/Exception.h"

namespace {

constexpr std::uint32_t kModelQuality = 2;

}  // namespace

CacheableAsset::CacheableAsset(const Options& options) {
    try {
        asset = GaussianSplatAssetCreator::CreateAsset(options.path, options.settings, true);
    } catch (const PLYFileReader::LoadModelException& exception) {
        error = exception.message;
    } catch (const zeb::Exception& exception) {
        error = exception.what();
    } catch (const std::bad_alloc&) {
        error = "There is not enough memory to load it";
    }
}

std::uint64_t CacheableAsset::GetSize() const {
    return asset == nullptr ? 0 : GaussianSplatAsset::CalcDataSizes(*asset).total;
}

zeb::UniquePtr<zeb::CacheableBase> zeb::CacheableCreator<CacheableAsset>::Create(const CacheableOptionsBase& options) {
    return MakeUnique<CacheableAsset>(dynamic_cast<const CacheableAsset::Options&>(options));
}

zeb::CacheKey zeb::CacheableCreator<CacheableAsset>::GetHash(HasherBase& hasher, const CacheableOptionsBase& options) {
    const auto& model = dynamic_cast<const CacheableAsset::Options&>(options);
    const auto state = hasher.CreateState();
    state->Mix(model.path.data(), model.path.size() * sizeof(char16_t));
    state->Mix(&model.settings, sizeof(model.settings));
    return state->Finish();
}

GaussianSplatAssetCreator::Settings MakeModelSettings() {
    GaussianSplatAssetCreator::Settings settings;
    settings.quality = kModelQuality;
    settings.ApplyQualityLevel();
    return settings;
}
