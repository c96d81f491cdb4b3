#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "NimbrelConvert/SplatReader.h"

namespace nimbrel::convert {

/// The user's folder for converted models: nimbrel/models in XDG_CACHE_HOME, ~/.cache or LOCALAPPDATA; empty where
/// there is none of them.
std::filesystem::path GetCacheFolder();

/// Plain PLY files of models of other formats, made once and kept in a folder under names made of their content. Files
/// that were not used for a month are removed. Any number of processes may share the folder. Any thread.
class ModelCache {
public:
    explicit ModelCache(std::filesystem::path folder = GetCacheFolder());
    /// Removes the files that no folder but the system's temporary one would take.
    ~ModelCache();
    ModelCache(const ModelCache&) = delete;
    ModelCache& operator=(const ModelCache&) = delete;

    /// What a file became, and sentences for the user on how; none where it is handed over as it is.
    struct Result {
        std::filesystem::path mFile;
        std::vector<std::string> mNotes;
        bool mIsRefused = false;  ///< it is none that is read: the effect will say so, and the notes say why
    };

    /// The file itself if the effect reads it as it is, or would refuse it too; else its plain PLY file. `check` is
    /// as in ConvertOptions. Throws ConvertError for a model that is broken or cannot be written anywhere.
    Result Get(const std::filesystem::path& file, const std::function<void()>& check = {});

    /// The file that was given for one that Get answered; others are answered as they are.
    std::filesystem::path GetOriginal(const std::filesystem::path& file) const;

private:
    Result FindOrConvert(const std::filesystem::path& file, const std::function<void()>& check);
    Result Convert(const std::filesystem::path& file, const std::string& key, const std::function<void()>& check);

    std::filesystem::path mFolder;
    mutable std::mutex mMutex;
    std::map<std::filesystem::path, std::filesystem::path> mOriginals;  ///< of converted files
    std::vector<std::filesystem::path> mTemporary;
};

}  // namespace nimbrel::convert
