#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include "SampleFiles.h"

/// MakeSample IN.ply OUT: writes a plain PLY model as the format that OUT's name ends with, for measurements.
int main(int argc, char** argv) {
    using namespace nimbrel::convert::test;
    if (argc != 3) return 2;
    std::ifstream in(argv[1], std::ios::binary);
    const Sample sample = ReadPlain({std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()});
    const std::string extension = std::filesystem::path(argv[2]).extension().string();
    std::ofstream out(argv[2], std::ios::binary);
    if (extension == ".splat") {
        out << WriteSplat(sample);
    } else if (extension == ".ksplat") {
        out << WriteKsplat(sample, 1);
    } else if (extension == ".sog") {
        out << WriteZip(WriteSog(sample, 2));
    } else if (extension == ".ply") {
        out << WritePly(sample, PlyKind::Ascii);
    } else {
        std::cerr << "MakeSample: no format for " << argv[2] << "\n";
        return 2;
    }
    return out ? 0 : 1;
}
