#include <cstdio>
#include <exception>
#include <fstream>
#include <string>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "ModelMaker.h"

int main(int argc, char** argv) {
    CLI::App app(
        "Makes a procedural model of Gaussian splats as a binary PLY file. The same options give the same "
        "bytes on every machine.");
    nimbrel::maker::ModelOptions options;
    std::string shape = "knot";
    std::string path;
    app.add_option("-o,--output", path, "The file to write")->required();
    app.add_option("--count", options.mCount, "Number of splats")->capture_default_str();
    app.add_option("--degree", options.mDegree, "Degree of the spherical harmonics, 0 to 3")->capture_default_str();
    app.add_option("--seed", options.mSeed, "Seed of what is random")->capture_default_str();
    app.add_option("--shape", shape, "knot: an iridescent knot over a tiled floor; box: a cube with coloured faces")
        ->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    try {
        options.mShape = nimbrel::maker::ParseShape(shape);
        std::ofstream file(path, std::ios::binary);
        nimbrel::maker::WriteModel(options, file);
        file.close();
        if (!file) throw std::runtime_error(fmt::format("cannot write \"{}\"", path));
    } catch (const std::exception& error) {
        fmt::print(stderr, "nimbrel-make-model: {}\n", error.what());
        return 1;
    }
    return 0;
}
