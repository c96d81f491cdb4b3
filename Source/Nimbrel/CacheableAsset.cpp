#include "Nimbrel/CacheableAsset.h"

#include <stdexcept>
#include <system_error>

#include <fmt/format.h>

#include "Nimbrel/PLYFileReader.h"
#include "Nimbrel/SplatLimits.h"
#include "PluginBase/Exception.h"

namespace {

constexpr std::uint32_t kModelQuality = 2;

}  // namespace

CacheableAsset::CacheableAsset(const Options& options) {
    try {
        // A file that no device draws is not read to its end.
        const auto header = GaussianSplatAssetCreator::CreateAsset(options.path, options.settings, false);
        if (header->splatCount > static_cast<std::int32_t>(nimbrel::kMaxFileSplats)) {
            error = fmt::format("It has {} splats; no more than {} of a file can be drawn", header->splatCount,
                                nimbrel::kMaxFileSplats);
            return;
        }
        asset = GaussianSplatAssetCreator::CreateAsset(options.path, options.settings, true);
    } catch (const PLYFileReader::LoadModelException& exception) {
        error = exception.message;
    } catch (const zeb::Exception& exception) {
        error = exception.what();
    } catch (const std::system_error&) {
        throw;  // of the moment, not of the file
    } catch (const std::runtime_error& exception) {
        error = exception.what();  // the reader's word on properties without an element
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
