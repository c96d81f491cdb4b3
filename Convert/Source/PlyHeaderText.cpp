#include "NimbrelConvert/RowLayout.h"

namespace nimbrel::convert {
namespace {

void AddProperties(std::string& header, std::string_view name, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        header.append("property float ").append(name).append(std::to_string(i)).append("\n");
    }
}

}  // namespace

std::string MakePlyHeader(long long count, int degree, std::span<const std::string> comments) {
    std::string header = "ply\nformat binary_little_endian 1.0\n";
    for (const std::string& comment : comments) header += "comment " + comment + "\n";
    header += "element vertex " + std::to_string(count) + "\n";
    header += "property float x\nproperty float y\nproperty float z\n";
    AddProperties(header, "f_dc_", 3);
    AddProperties(header, "f_rest_", 3 * RowLayout{degree}.Coefficients());
    header += "property float opacity\n";
    AddProperties(header, "scale_", 3);
    AddProperties(header, "rot_", 4);
    return header + "end_header\n";
}

}  // namespace nimbrel::convert
