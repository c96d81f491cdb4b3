#pragma once

#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

namespace nimbrel::reference {

/// One splat as trainers write it: logarithmic scale, logit of opacity, quaternion with its scalar part first,
/// harmonics by coefficient.
struct PlySplat {
    glm::vec3 mPosition{0.0F};
    glm::vec3 mConstantTerm{0.0F};
    std::array<glm::vec3, 15> mSH{};
    float mOpacity = 0.0F;
    glm::vec3 mScale{0.0F};
    glm::vec4 mRotation{1.0F, 0.0F, 0.0F, 0.0F};
};

/// A file in the temporary folder, removed at the end.
class PlyFile {
public:
    PlyFile(const std::string& name, const std::vector<PlySplat>& splats, int degree)
        : mPath(std::filesystem::temp_directory_path() / name) {
        const int coefficients = (degree + 1) * (degree + 1) - 1;
        std::ofstream stream(mPath, std::ios::binary);
        stream << "ply\nformat binary_little_endian 1.0\nelement vertex " << splats.size() << '\n';
        std::vector<std::string> names = {"x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2"};
        for (int i = 0; i < 3 * coefficients; ++i) names.push_back("f_rest_" + std::to_string(i));
        for (const char* more : {"opacity", "scale_0", "scale_1", "scale_2", "rot_0", "rot_1", "rot_2", "rot_3"}) {
            names.emplace_back(more);
        }
        for (const std::string& property : names) stream << "property float " << property << '\n';
        stream << "end_header\n";
        for (const PlySplat& splat : splats) {
            std::vector<float> values;
            const auto add = [&](const auto& vector, int count) {
                for (int i = 0; i < count; ++i) values.push_back(vector[i]);
            };
            add(splat.mPosition, 3);
            add(splat.mConstantTerm, 3);
            for (int channel = 0; channel < 3; ++channel) {
                for (int i = 0; i < coefficients; ++i)
                    values.push_back(splat.mSH[static_cast<std::size_t>(i)][channel]);
            }
            values.push_back(splat.mOpacity);
            add(splat.mScale, 3);
            add(splat.mRotation, 4);
            stream.write(reinterpret_cast<const char*>(values.data()),
                         static_cast<std::streamsize>(values.size() * sizeof(float)));
        }
    }
    ~PlyFile() {
        std::error_code ignored;
        std::filesystem::remove(mPath, ignored);
    }
    PlyFile(const PlyFile&) = delete;
    PlyFile& operator=(const PlyFile&) = delete;

    std::u16string Path() const { return mPath.u16string(); }

private:
    std::filesystem::path mPath;
};

}  // namespace nimbrel::reference
