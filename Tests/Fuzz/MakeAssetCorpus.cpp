#include <cstdio>
#include <filesystem>
#include <fstream>

#include "PlyBuilder.h"

namespace {

std::string MakeVariedFile(int count, int degree) {
    std::vector<PlySplat> splats;
    for (int i = 0; i < count; ++i) {
        const auto v = static_cast<float>(i);
        PlySplat splat{.mPosition = {v, -v, 0.5f * v},
                       .mDc = {0.1f * v, 1.0f, -0.2f * v},
                       .mOpacity = 1.0f - v,
                       .mScale = {-v, -2.0f, 0.5f},
                       .mRotation = {1.0f, v, -0.5f, 0.25f}};
        for (int k = 0; k < 45; ++k) splat.mRest.push_back(0.01f * static_cast<float>(k - i));
        splats.push_back(splat);
    }
    return MakeFile(splats, degree);
}

}  // namespace

// Seeds for AssetFuzzer: one small file for each road through the reader and the creator.
int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: MakeAssetCorpus FOLDER\n");
        return 2;
    }
    std::vector<std::string> files;
    for (int degree = 0; degree <= 3; ++degree) {
        for (int count : {0, 1, 3}) files.push_back(MakeVariedFile(count, degree));
    }
    files.push_back(MakeVariedFile(260, 0));
    const std::vector<std::string> usual = GetUsualProperties(0);
    const std::string body(120, '\x3f');
    files.push_back(MakeHeader(Replaced(usual, "opacity", ""), 2) + body);
    files.push_back(MakeHeader(Replaced(usual, "rot_0", "char rot_0"), 2) + body);
    files.push_back(MakeHeader(Replaced(usual, "x", "double x"), 2) + body);
    files.push_back(MakeHeader(Replaced(usual, "opacity", "list uchar int opacity"), 2) + body);
    files.push_back(MakeHeader(usual, 3, "binary_big_endian") + body);
    files.push_back(MakeHeader(usual, -1));

    const std::filesystem::path folder = argv[1];
    std::filesystem::create_directories(folder);
    for (std::size_t i = 0; i < files.size(); ++i) {
        std::ofstream file(folder / ("seed-" + std::to_string(i)), std::ios::binary);
        file << static_cast<char>(i % 3 == 0 ? 2 : i % 6) << files[i];
        if (!file.flush()) return 1;
    }
    return 0;
}
