#include "PipelineCacheFile.h"

#include <cstring>
#include <fstream>
#include <random>

#include <fmt/format.h>

#include "PluginBase/Misc/Hash.h"

namespace zeb::render {
namespace {

constexpr std::uint32_t kFormatVersion = 1;
/// Drivers keep some hundred KiB for the programs of this system.
constexpr std::uint64_t kMaxSize = 64 << 20;

struct FileHeader {
    char mMagic[4] = {'N', 'P', 'L', 'C'};
    std::uint32_t mVersion = kFormatVersion;
    std::uint64_t mSize = 0;
    std::uint64_t mHash = 0;
};
static_assert(sizeof(FileHeader) == 24);

std::uint64_t HashOf(const std::vector<std::byte>& data) {
    return HashFnv1a({reinterpret_cast<const char*>(data.data()), data.size()});
}

/// A name for each process and write, so that nobody writes into another's file.
std::filesystem::path GetUnfinished(const std::filesystem::path& file) {
    std::random_device random;
    return file.string() + fmt::format(".{:08x}{:08x}", random(), random());
}

}  // namespace

PipelineCacheFile::PipelineCacheFile(const std::filesystem::path& folder, const VkPhysicalDeviceProperties& properties)
    : mProperties(properties) {
    if (folder.empty()) return;
    std::string name = fmt::format("pipelines-{:04x}-{:04x}-", properties.vendorID, properties.deviceID);
    for (const std::uint8_t byte : properties.pipelineCacheUUID) name += fmt::format("{:02x}", byte);
    mFile = folder / name;
}

bool PipelineCacheFile::IsOfDevice(const std::vector<std::byte>& data) const {
    std::uint32_t words[4] = {};  // the header's size and version, vendor, device; the driver's mark comes next
    if (data.size() < sizeof(words) + VK_UUID_SIZE) return false;
    std::memcpy(words, data.data(), sizeof(words));
    return words[0] >= sizeof(words) + VK_UUID_SIZE && words[1] == VK_PIPELINE_CACHE_HEADER_VERSION_ONE &&
           words[2] == mProperties.vendorID && words[3] == mProperties.deviceID &&
           std::memcmp(data.data() + sizeof(words), mProperties.pipelineCacheUUID, VK_UUID_SIZE) == 0;
}

std::vector<std::byte> PipelineCacheFile::Read() const {
    std::ifstream stream(mFile, std::ios::binary);
    FileHeader header;
    const FileHeader own;
    if (mFile.empty() || !stream.read(reinterpret_cast<char*>(&header), sizeof(header))) return {};
    if (std::memcmp(header.mMagic, own.mMagic, sizeof(own.mMagic)) != 0 || header.mVersion != own.mVersion) return {};
    if (header.mSize == 0 || header.mSize > kMaxSize) return {};
    std::vector<std::byte> data(header.mSize);
    if (!stream.read(reinterpret_cast<char*>(data.data()), static_cast<std::streamsize>(data.size()))) return {};
    if (stream.peek() != std::ifstream::traits_type::eof()) return {};
    return HashOf(data) == header.mHash && IsOfDevice(data) ? data : std::vector<std::byte>();
}

void PipelineCacheFile::Write(const std::vector<std::byte>& data) const {
    if (mFile.empty() || data.size() > kMaxSize || !IsOfDevice(data)) return;
    std::error_code ignored;
    std::filesystem::create_directories(mFile.parent_path(), ignored);
    FileHeader header;
    header.mSize = data.size();
    header.mHash = HashOf(data);
    const std::filesystem::path unfinished = GetUnfinished(mFile);
    std::ofstream stream(unfinished, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(&header), sizeof(header));
    stream.write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
    stream.close();
    if (stream) std::filesystem::rename(unfinished, mFile, ignored);
    std::filesystem::remove(unfinished, ignored);  // what is left of it
}

}  // namespace zeb::render
