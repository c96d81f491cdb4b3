#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "ContactSheet.h"
#include "NimbrelHost/Program/ProgramOptions.h"
#include "PngFile.h"

using namespace nimbrel::sheet;

namespace {

/// The lines beside a picture, each broken to its width.
std::vector<std::string> ReadCaption(const std::string& picture, int width) {
    constexpr std::size_t mostLines = 3;
    const std::filesystem::path file = std::filesystem::path(picture).replace_extension(".txt");
    std::ifstream stream(file);
    if (!stream) throw std::runtime_error(fmt::format("{}: expected the text of a picture", file.string()));
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        for (std::string& part : BreakLines(line, width, mostLines)) lines.push_back(std::move(part));
    }
    return lines;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Puts PNG pictures onto one, in rows, each with its file's name under it.", "nimbrel-contact-sheet");
    nimbrel::host::AddProgramOptions(app);
    std::vector<std::string> files;
    std::string output;
    SheetOptions options;
    int width = 0;
    bool plain = false;
    app.add_option("files", files, "The pictures, in order")->type_name("FILE.png")->required();
    app.add_option("-o,--output", output, "The PNG file to write")->type_name("FILE.png")->required();
    app.add_option("--columns", options.mColumns, "Pictures in a row")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--width", width, "Shrink wider pictures to this width; 0: leave them as they are")
        ->check(CLI::Range(0, 100000))
        ->capture_default_str();
    app.add_option("--gap", options.mGap, "Pixels between pictures")->check(CLI::Range(0, 1000))->capture_default_str();
    bool texts = false;
    app.add_flag(
        "--texts", texts,
        "Write under each FILE.png the lines of FILE.txt beside it, broken to its width, in place of its name");
    app.add_flag("--no-captions", plain, "Leave the names out");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    options.mCaptions = !plain;
    try {
        std::vector<Picture> pictures;
        pictures.reserve(files.size());
        for (const std::string& file : files) {
            pictures.push_back({file, Shrink(ReadPng(file, options.mBackground), width)});
            if (texts) pictures.back().mLines = ReadCaption(file, pictures.back().mImage.mWidth);
        }
        WritePng(output, MakeSheet(pictures, options));
    } catch (const std::exception& error) {
        fmt::print(stderr, "nimbrel-contact-sheet: {}\n", error.what());
        return 1;
    }
    return 0;
}
