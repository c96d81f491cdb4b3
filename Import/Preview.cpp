#include "Preview.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <list>
#include <mutex>
#include <system_error>

#include <fmt/format.h>

#include "ImporterIdentity.h"
#include "ModelPicture.h"
#include "Nimbrel/GaussianSplatAssetCreator.h"
#include "PlyInspection.h"
#include "SplatSample.h"
#include "Texts.h"

namespace nimbrel::importer {
namespace {

constexpr std::size_t kMaxKept = 32;  // 180 KB each

/// What tells one content of a file from another without reading it.
struct Stamp {
    std::u16string mPath;
    std::uintmax_t mSize = 0;
    std::filesystem::file_time_type mTime;

    bool operator==(const Stamp&) const = default;
};

std::optional<Stamp> ReadStamp(const std::u16string& path) {
    try {
        const std::filesystem::path place(path);
        if (!std::filesystem::is_regular_file(place)) return std::nullopt;
        return Stamp{path, std::filesystem::file_size(place), std::filesystem::last_write_time(place)};
    } catch (const std::filesystem::filesystem_error&) {
        // Gone, out of reach, or a path that is no text.
        return std::nullopt;
    }
}

/// A sample shows as much of the surface as the whole if its splats are larger, up to where they only blur.
float GetSplatScale(std::uint64_t stored, std::int32_t taken) {
    constexpr float kMaxScale = 2.0F;
    if (taken <= 0) return 1.0F;
    return std::min(std::sqrt(static_cast<float>(stored) / static_cast<float>(taken)), kMaxScale);
}

std::string DescribeCount(const PlyInspection& inspection) {
    const std::string claimed = GroupDigits(inspection.mLayout.splatCount);
    const auto stored = static_cast<std::int64_t>(inspection.CountStored());
    const bool isCut = stored < inspection.mLayout.splatCount;
    return fmt::format("{} splats{}, degree {}", claimed,
                       isCut ? fmt::format(" (cut short: {} in the file)", GroupDigits(stored)) : std::string(),
                       inspection.mLayout.shLevel);
}

Preview MakeRefusal(std::string name, const Refusal& refusal) {
    return {std::move(name), "PLY, not for Nimbrel", "Not drawn: " + refusal.mReason,
            DrawNotice(kWidth, kHeight, refusal.mTitle, refusal.mReason)};
}

Preview MakeModel(const std::u16string& path, std::string name, const PlyInspection& inspection) {
    const char* const kind = "Gaussian splats (PLY)";
    const std::string count = DescribeCount(inspection);
    GaussianSplatAssetCreator::Settings settings;
    settings.ApplyQualityLevel();
    const PLYFileData sample = ReadSample(path, inspection);
    const std::optional<Box> box = MeasureSample(sample);
    if (!box) return {std::move(name), kind, count, DrawNotice(kWidth, kHeight, "NO SPLATS", count)};
    const auto asset = GaussianSplatAssetCreator::CreateAsset(sample, settings);
    return {std::move(name), kind, fmt::format("{}, {}", count, DescribeSize(box->mMax - box->mMin)),
            DrawModel(*asset, *box, GetSplatScale(inspection.CountStored(), sample.splatCount), kWidth, kHeight)};
}

/// One file's preview, made by whoever comes first.
struct Entry {
    Stamp mStamp;
    std::mutex mMutex;
    std::shared_ptr<const Preview> mPreview;
};

/// The last used first.
class Kept {
public:
    std::shared_ptr<Entry> Get(const Stamp& stamp) {
        const std::scoped_lock lock(mMutex);
        const auto found =
            std::find_if(mEntries.begin(), mEntries.end(), [&](const auto& entry) { return entry->mStamp == stamp; });
        if (found != mEntries.end()) {
            mEntries.splice(mEntries.begin(), mEntries, found);
            return mEntries.front();
        }
        mEntries.push_front(std::make_shared<Entry>());
        mEntries.front()->mStamp = stamp;
        if (mEntries.size() > kMaxKept) mEntries.pop_back();
        return mEntries.front();
    }

private:
    std::mutex mMutex;
    std::list<std::shared_ptr<Entry>> mEntries;
};

}  // namespace

std::shared_ptr<const Preview> MakePreview(const std::u16string& path) {
    const std::optional<PlyInspection> inspection = Inspect(path);
    if (!inspection) return nullptr;
    std::string name = GetFileName(path);
    return std::make_shared<const Preview>(inspection->mRefusal ? MakeRefusal(std::move(name), *inspection->mRefusal)
                                                                : MakeModel(path, std::move(name), *inspection));
}

std::shared_ptr<const Preview> GetPreview(const std::u16string& path) {
    // Lives as long as the library: hosts may call to the end.
    static Kept& kept = *new Kept;
    const std::optional<Stamp> stamp = ReadStamp(path);
    if (!stamp) return nullptr;
    const std::shared_ptr<Entry> entry = kept.Get(*stamp);
    const std::scoped_lock lock(entry->mMutex);
    if (!entry->mPreview) entry->mPreview = MakePreview(path);
    return entry->mPreview;
}

}  // namespace nimbrel::importer
