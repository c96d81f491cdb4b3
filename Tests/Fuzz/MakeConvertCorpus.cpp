#include <fstream>
#include <functional>
#include <string>

#include "SampleFiles.h"

/// Writes a small file of every format into a folder, each behind the byte that names its file to ConvertFuzzer.
int main(int argc, char** argv) {
    using namespace nimbrel::convert::test;
    if (argc != 2) return 2;
    int number = 0;
    const auto write = [&](int name, const std::string& bytes) {
        std::ofstream(std::string(argv[1]) + "/sample" + std::to_string(number++), std::ios::binary)
            << static_cast<char>(name) << bytes;
    };
    for (int degree = 0; degree <= 3; ++degree) {
        const Sample sample = MakeSmallSample(degree == 1 ? 300 : 20, degree);
        for (const PlyKind kind : {PlyKind::Ascii, PlyKind::BigEndian, PlyKind::Doubles})
            write(0, WritePly(sample, kind));
        write(0, WriteCompressedPly(sample));
        write(1, WriteSplat(sample));
        for (int level = 0; level < 3; ++level) write(2, WriteKsplat(sample, level));
        for (int version = 1; version <= 4; ++version) write(3, WriteSpz(sample, version));
        for (int version = 1; version <= 2; ++version) {
            write(4, WriteZip(WriteSog(sample, version)));
            write(7, WriteSog(sample, version)[0].mBytes);
        }
        const std::string glb = WriteGlb(sample, R"("rotation":[0,0,0,1],"scale":[2,2,2])");
        write(5, glb);
        write(6, glb.substr(20, glb.find("BIN") - 24));
    }
    return 0;
}
