#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "ModelMaker.h"
#include "NimbrelHost/Program/ProgramOptions.h"
#include "NimbrelHost/Support/Arguments.h"

int main(int argc, char** argv) {
    CLI::App app(
        "Makes a procedural model of Gaussian splats as a binary PLY file. The same options give the same "
        "bytes on every machine.",
        "nimbrel-make-model");
    nimbrel::host::AddProgramOptions(app);
    nimbrel::maker::ModelOptions options;
    std::string shape = "knot";
    std::string path;
    app.add_option("-o,--output", path, "The file to write")->type_name("FILE.ply")->required();
    app.add_option("--count", options.mCount, "Number of splats")->capture_default_str();
    app.add_option("--degree", options.mDegree, "Degree of the spherical harmonics, 0 to 3")->capture_default_str();
    app.add_option("--seed", options.mSeed, "Seed of what is random")->capture_default_str();
    app.add_option("--shape", shape, "knot: an iridescent knot over a tiled floor; box: a cube with coloured faces")
        ->type_name("knot|box")
        ->capture_default_str();
    const nimbrel::host::Arguments arguments(argc, argv);
    // Before the file is opened, which empties one that is there.
    try {
        app.parse(arguments.GetCount(), arguments.Get());
        options.mShape = nimbrel::maker::ParseShape(shape);
        CheckOptions(options);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error);
        fmt::print(stderr, "nimbrel-make-model: {} (see --help)\n", error.what());
        return 2;
    } catch (const std::invalid_argument& error) {
        fmt::print(stderr, "nimbrel-make-model: {}\n", error.what());
        return 2;
    }
    try {
        std::ofstream file(std::filesystem::path(std::u8string(path.begin(), path.end())), std::ios::binary);
        nimbrel::maker::WriteModel(options, file);
        file.close();
        if (!file) throw std::runtime_error(fmt::format("cannot write \"{}\"", path));
    } catch (const std::exception& error) {
        fmt::print(stderr, "nimbrel-make-model: {}\n", error.what());
        return 1;
    }
    return 0;
}
