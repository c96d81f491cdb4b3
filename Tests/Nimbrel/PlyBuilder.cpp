#include "PlyBuilder.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <random>

TemporaryFile::TemporaryFile(std::string_view bytes) {
    static std::atomic<int> number = 0;
    static const unsigned process = std::random_device()();
    // A name beyond ASCII: paths cross as UTF-16.
    mPath = std::filesystem::temp_directory_path() /
            std::filesystem::path(u"nimbrel-é漢-")
                .concat(std::to_string(process) + "-" + std::to_string(++number) + ".ply");
    std::ofstream(mPath, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

TemporaryFile::~TemporaryFile() {
    std::error_code ignored;
    std::filesystem::remove(mPath, ignored);
}

std::vector<std::string> GetUsualProperties(int degree) {
    std::vector<std::string> list = {"x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2"};
    for (int i = 0; i < 3 * ((degree + 1) * (degree + 1) - 1); ++i) list.push_back("f_rest_" + std::to_string(i));
    for (const char* name : {"opacity", "scale_0", "scale_1", "scale_2", "rot_0", "rot_1", "rot_2", "rot_3"})
        list.emplace_back(name);
    return list;
}

std::vector<std::string> Replaced(std::vector<std::string> list, std::string_view name, std::string_view line) {
    const auto found = std::find(list.begin(), list.end(), name);
    if (found != list.end()) *found = line;
    std::erase(list, "");
    return list;
}

std::string MakeHeader(std::span<const std::string> properties, std::int64_t count, std::string_view format) {
    std::string header = "ply\nformat " + std::string(format) + " 1.0\nelement vertex " + std::to_string(count) + "\n";
    for (const std::string& property : properties)
        header += "property " + (property.find(' ') == std::string::npos ? "float " + property : property) + "\n";
    return header + "end_header\n";
}

std::string MakeFile(std::span<const PlySplat> splats, int degree) {
    std::string file = MakeHeader(GetUsualProperties(degree), static_cast<std::int64_t>(splats.size()));
    for (const PlySplat& splat : splats) {
        std::vector<float> rest = splat.mRest;
        rest.resize(static_cast<std::size_t>(3 * ((degree + 1) * (degree + 1) - 1)));
        file += Bytes<float>(splat.mPosition) + Bytes<float>(splat.mDc) + Bytes<float>(rest);
        file += Bytes<float>({&splat.mOpacity, 1}) + Bytes<float>(splat.mScale) + Bytes<float>(splat.mRotation);
    }
    return file;
}
