#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "NimbrelConvert/RowLayout.h"

/// Small files of every format, written from the formats' descriptions and apart from what reads them.
namespace nimbrel::convert::test {

using Rows = std::vector<std::vector<float>>;

/// A model as rows of RowLayout, quaternions of unit length.
struct Sample {
    RowLayout mLayout;
    Rows mRows;
};

/// Some splats with values of no meaning, the same for the same numbers.
Sample MakeSmallSample(std::size_t count, int degree);

/// The rows of a plain PLY file's bytes; empty if the bytes are none.
Sample ReadPlain(const std::string& ply);

enum class PlyKind { Ascii, BigEndian, Doubles };
/// Properties in alphabetical order, an unknown one among them, seven elements more behind the splats and one before.
std::string WritePly(const Sample& sample, PlyKind kind);
std::string WriteCompressedPly(const Sample& sample);
std::string WriteSplat(const Sample& sample);
/// Degree 2 at most: the sample's third band is left out.
std::string WriteKsplat(const Sample& sample, int level);
/// With x up and back as SPZ has them.
std::string WriteSpz(const Sample& sample, int version);
struct NamedFile {
    std::string mName;
    std::string mBytes;
};
std::vector<NamedFile> WriteSog(const Sample& sample, int version);
std::string WriteZip(const std::vector<NamedFile>& files);
/// `node`: members of the JSON object of the node that places the splats.
std::string WriteGlb(const Sample& sample, const std::string& node = "");

std::string Gzip(const std::string& bytes);

}  // namespace nimbrel::convert::test
