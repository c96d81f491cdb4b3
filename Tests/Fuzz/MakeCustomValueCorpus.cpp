#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "PluginBase/Parameters/Custom/Gradient.h"
#include "PluginBase/Parameters/Custom/Ramp.h"

// Seeds for CustomValueFuzzer: each form of a few values.
int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: MakeCustomValueCorpus FOLDER\n");
        return 2;
    }
    std::vector<std::string> files;
    for (std::int32_t interpolation = 0; interpolation < 4; ++interpolation) {
        zeb::Ramp ramp(interpolation % 2, 0.25F, 1.0F);
        ramp.interpolation = interpolation;
        for (int i = 0; i < interpolation; ++i) ramp.keys[0.2F * static_cast<float>(i)] = 0.5F;
        std::string bytes(ramp.ToBin(nullptr), '\0');
        ramp.ToBin(bytes.data());
        files.push_back('\0' + bytes);
        files.push_back('\1' + ramp.ToJSON());
    }
    zeb::Gradient gradient(zeb::Gradient::kStep, glm::vec3(0.5F), glm::vec3(0.25F));
    files.push_back('\2' + gradient.ToJSON());
    gradient.SetSelectedKey(1);
    files.push_back('\2' + gradient.ToJSON());

    const std::filesystem::path folder = argv[1];
    std::filesystem::create_directories(folder);
    for (std::size_t i = 0; i < files.size(); ++i) {
        std::ofstream file(folder / ("seed-" + std::to_string(i)), std::ios::binary);
        file << files[i];
        if (!file.flush()) return 1;
    }
    return 0;
}
