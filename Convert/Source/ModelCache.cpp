#include "NimbrelConvert/ModelCache.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <random>

#include <fmt/format.h>
#define XXH_INLINE_ALL
#include <xxhash.h>

#include "ByteSource.h"
#include "CopyModel.h"
#include "NimbrelConvert/Errors.h"

namespace nimbrel::convert {
namespace {

// Part of every key: readers that give other numbers get another number here.
constexpr std::string_view kVersion = "nimbrel model cache 1";

std::filesystem::path GetFolderOf(const char* variable) {
    const char* const value = std::getenv(variable);
    if (value == nullptr) return {};
    const std::string_view text(value);
    const std::filesystem::path folder(std::u8string(text.begin(), text.end()));
    return folder.is_absolute() ? folder : std::filesystem::path();
}

// A part that is not there is the model's fault.
std::shared_ptr<ByteSource> OpenPart(const std::filesystem::path& part) {
    try {
        return OpenFile(part);
    } catch (const FileError& error) {
        throw FormatError(fmt::format("\"{}\": {}", PathText(part), error.what()));
    }
}

/// A name for the content of all files of a model.
std::string MakeKey(const std::filesystem::path& file) {
    XXH3_state_t state;
    XXH3_128bits_reset(&state);
    XXH3_128bits_update(&state, kVersion.data(), kVersion.size());
    for (const std::filesystem::path& part : ListModelFiles(file)) {
        const std::shared_ptr<ByteSource> source = OpenPart(part);
        const std::uint64_t size = source->GetSize();
        XXH3_128bits_update(&state, &size, sizeof(size));
        constexpr std::uint64_t kBlock = std::uint64_t{4} << 20;
        for (std::uint64_t at = 0; at < size; at += kBlock) {
            const Bytes block = source->ReadUpTo(at, kBlock);
            XXH3_128bits_update(&state, block.data(), block.size());
        }
    }
    const XXH128_hash_t hash = XXH3_128bits_digest(&state);
    return fmt::format("{:016x}{:016x}", static_cast<std::uint64_t>(hash.high64),
                       static_cast<std::uint64_t>(hash.low64));
}

void RemoveOld(const std::filesystem::path& folder) {
    using namespace std::chrono_literals;
    const auto now = std::filesystem::file_time_type::clock::now();
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        const std::filesystem::path& path = entry->path();
        const auto age = now - std::filesystem::last_write_time(path, ignored);
        const bool isPart = path.extension() == ".part", isModel = path.extension() == ".ply";
        if (!ignored && ((isPart && age > 24h) || (isModel && age > 30 * 24h))) std::filesystem::remove(path, ignored);
    }
}

/// Writes a sealed file; answers what was read.
ModelFacts Write(const std::filesystem::path& from, const std::filesystem::path& to, const std::string& key,
                 const std::function<void()>& check) {
    const std::unique_ptr<SplatReader> reader = OpenModel(from);
    const ModelFacts& facts = reader->GetFacts();
    std::vector<std::string> comments = MakeComments(facts);
    comments.push_back("key " + key);
    PlyWriter writer(to, facts.mCount, facts.mDegree, comments, true);
    CopyModel(*reader, writer, check);
    return facts;
}

}  // namespace

std::filesystem::path GetCacheFolder() {
#ifdef _WIN32
    const std::filesystem::path base = GetFolderOf("LOCALAPPDATA");
#else
    std::filesystem::path base = GetFolderOf("XDG_CACHE_HOME");
    if (base.empty()) base = GetFolderOf("HOME");
    if (!base.empty() && GetFolderOf("XDG_CACHE_HOME").empty()) base /= ".cache";
#endif
    return base.empty() ? base : base / "nimbrel" / "models";
}

ModelCache::ModelCache(std::filesystem::path folder) : mFolder(std::move(folder)) {}

ModelCache::~ModelCache() {
    std::error_code ignored;
    for (const std::filesystem::path& file : mTemporary) std::filesystem::remove(file, ignored);
}

ModelCache::Result ModelCache::Get(const std::filesystem::path& file, const std::function<void()>& check) {
    if (IsPlainPly(file)) {
        const std::string shortage = DescribeShortage(file);
        return {file, shortage.empty() ? std::vector<std::string>() : std::vector<std::string>{shortage}};
    }
    try {
        if (!IsKnownModel(file)) OpenModel(file);
        const std::lock_guard lock(mMutex);
        Result result = FindOrConvert(file, check);
        mOriginals[result.mFile] = file;
        return result;
    } catch (const FormatError& error) {
        if (!IsRefusedByEffect(file)) throw;
        return {file, {error.what()}, true};
    }
}

ModelCache::Result ModelCache::FindOrConvert(const std::filesystem::path& file, const std::function<void()>& check) {
    const std::string key = MakeKey(file);
    const std::filesystem::path place = mFolder / (key + ".ply");
    if (mFolder.empty() || !IsSealIntact(place, "key " + key)) return Convert(file, key, check);
    std::error_code ignored;
    // What is in use is not old.
    std::filesystem::last_write_time(place, std::filesystem::file_time_type::clock::now(), ignored);
    return {place, {}};
}

ModelCache::Result ModelCache::Convert(const std::filesystem::path& file, const std::string& key,
                                       const std::function<void()>& check) {
    std::string trouble = "there is no cache folder";
    const auto say = [&](const ModelFacts& facts, const std::filesystem::path& place) {
        Result result{place,
                      {fmt::format("\"{}\" ({}, {} splats) was converted to \"{}\".", PathText(file), facts.mFormat,
                                   facts.mCount, PathText(place))}};
        result.mNotes.insert(result.mNotes.end(), facts.mNotes.begin(), facts.mNotes.end());
        return result;
    };
    if (!mFolder.empty()) {
        const std::filesystem::path place = mFolder / (key + ".ply");
        std::error_code ignored;
        std::filesystem::create_directories(mFolder, ignored);
        RemoveOld(mFolder);
        try {
            return say(Write(file, place, key, check), place);
        } catch (const FileError& error) {
            trouble = error.what();
        }
    }
    // Without the cache this run's own file does, in a folder that others have no say in.
    const std::filesystem::path place = std::filesystem::temp_directory_path() /
                                        fmt::format("nimbrel-{}-{:08x}.ply", key.substr(0, 8), std::random_device()());
    Result result = say(Write(file, place, key, check), place);
    mTemporary.push_back(place);
    result.mNotes.push_back(fmt::format("It lies there for this run only: {}.", trouble));
    return result;
}

std::filesystem::path ModelCache::GetOriginal(const std::filesystem::path& file) const {
    const std::lock_guard lock(mMutex);
    const auto found = mOriginals.find(file);
    return found == mOriginals.end() ? file : found->second;
}

}  // namespace nimbrel::convert
