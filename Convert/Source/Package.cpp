#include "Package.h"

#include <algorithm>

#include <fmt/format.h>
#include <zip.h>

#include "Format.h"
#include "NimbrelConvert/Errors.h"

namespace nimbrel::convert {
namespace {

constexpr std::uint64_t kMaxFile = std::uint64_t{2} << 30;

class FolderPackage : public Package {
public:
    explicit FolderPackage(std::filesystem::path folder) : mFolder(std::move(folder)) {}
    std::uint64_t GetPackedSize() const override { return mRead; }

private:
    Bytes DoLoad(const std::string& name) override {
        try {
            Bytes bytes = OpenFile(mFolder / std::u8string(name.begin(), name.end()))->ReadAll(kMaxFile);
            mRead += bytes.size();
            return bytes;
        } catch (const FileError& error) {
            throw FormatError(fmt::format("its file \"{}\": {}", name, error.what()));
        }
    }

    std::filesystem::path mFolder;
    std::uint64_t mRead = 0;
};

class ZipPackage : public Package {
public:
    explicit ZipPackage(Bytes archive) : mBytes(std::move(archive)), mZip(nullptr, zip_discard) {
        zip_error_t error;
        zip_error_init(&error);
        zip_source_t* source = zip_source_buffer_create(mBytes.data(), mBytes.size(), 0, &error);
        zip_t* zip = source == nullptr ? nullptr : zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, &error);
        const std::string reason = zip_error_strerror(&error);
        zip_error_fini(&error);
        if (zip == nullptr) {
            zip_source_free(source);
            throw FormatError(fmt::format("its zip archive is broken: {}", reason));
        }
        mZip.reset(zip);
        for (zip_int64_t i = 0; i < zip_get_num_entries(zip, 0); ++i) {
            if (const char* name = zip_get_name(zip, static_cast<zip_uint64_t>(i), 0)) CheckInnerName(name);
        }
    }

    std::uint64_t GetPackedSize() const override { return mBytes.size(); }

private:
    Bytes DoLoad(const std::string& name) override {
        zip_stat_t stat;
        if (zip_stat(mZip.get(), name.c_str(), 0, &stat) != 0 || (stat.valid & ZIP_STAT_SIZE) == 0) {
            throw FormatError(fmt::format("it lacks the file \"{}\"", name));
        }
        mUnfolded += stat.size;
        CheckUnfolding(mBytes.size(), mUnfolded);
        if (stat.size > kMaxFile) throw FormatError(fmt::format("its file \"{}\" claims {} bytes", name, stat.size));
        const std::unique_ptr<zip_file_t, decltype(&zip_fclose)> file(zip_fopen_index(mZip.get(), stat.index, 0),
                                                                      zip_fclose);
        if (!file)
            throw FormatError(fmt::format("its file \"{}\" cannot be unpacked: {}", name, zip_strerror(mZip.get())));
        return ReadWhole(*file, name, stat.size);
    }

    // In steps, since what an entry claims is not what it holds.
    static Bytes ReadWhole(zip_file_t& file, const std::string& name, std::uint64_t size) {
        constexpr std::uint64_t kStep = std::uint64_t{1} << 20;
        Bytes bytes;
        for (;;) {
            const std::size_t have = bytes.size();
            bytes.resize(have + kStep);
            const zip_int64_t got = zip_fread(&file, bytes.data() + have, kStep);
            if (got < 0) throw FormatError(fmt::format("its file \"{}\" is broken", name));
            bytes.resize(have + static_cast<std::size_t>(got));
            if (got == 0 || bytes.size() > size) break;
        }
        if (bytes.size() != size)
            throw FormatError(fmt::format("its file \"{}\" has not the size that is stated", name));
        return bytes;
    }

    Bytes mBytes;
    std::unique_ptr<zip_t, decltype(&zip_discard)> mZip;
    std::uint64_t mUnfolded = 0;
};

}  // namespace

Bytes Package::Load(const std::string& name) {
    CheckInnerName(name);
    return DoLoad(name);
}

void CheckInnerName(const std::string& name) {
    const auto leadsOut = [&] {
        if (name.empty() || name.find(':') != std::string::npos || name.find('\0') != std::string::npos) return true;
        std::string path = name;
        std::replace(path.begin(), path.end(), '\\', '/');
        if (path.front() == '/') return true;
        path = "/" + path + "/";
        return path.find("/../") != std::string::npos;
    };
    if (leadsOut())
        throw FormatError(fmt::format("it names the file \"{}\", which leads out of it: it is refused", name));
}

std::unique_ptr<Package> OpenFolderPackage(const std::filesystem::path& folder) {
    return std::make_unique<FolderPackage>(folder);
}

std::unique_ptr<Package> OpenZipPackage(Bytes archive) { return std::make_unique<ZipPackage>(std::move(archive)); }

}  // namespace nimbrel::convert
