#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// A file of the given bytes in the system's temporary folder, gone with the object.
class TemporaryFile {
public:
    explicit TemporaryFile(std::string_view bytes);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    std::u16string GetPath() const { return mPath.u16string(); }

private:
    std::filesystem::path mPath;
};

/// "float x", "float y" and so on: the usual properties of a splat file.
std::vector<std::string> GetUsualProperties(int degree);

/// `list` with the property called `name` replaced by `line` (taken away if that is empty).
std::vector<std::string> Replaced(std::vector<std::string> list, std::string_view name, std::string_view line);

/// Header of one vertex element. A property without a type is a float.
std::string MakeHeader(std::span<const std::string> properties, std::int64_t count,
                       std::string_view format = "binary_little_endian");

/// One splat as the usual file of degree 0 to 3 holds it.
struct PlySplat {
    float mPosition[3] = {0.0f, 0.0f, 0.0f};
    float mDc[3] = {0.0f, 0.0f, 0.0f};
    std::vector<float> mRest{};  ///< Planes of red, green, blue; zeros behind its end.
    float mOpacity = 0.0f;
    float mScale[3] = {0.0f, 0.0f, 0.0f};
    float mRotation[4] = {1.0f, 0.0f, 0.0f, 0.0f};  ///< Real part first.
};

std::string MakeFile(std::span<const PlySplat> splats, int degree);

/// Bytes of values in memory order.
template <class T>
std::string Bytes(std::span<const T> values) {
    return std::string(reinterpret_cast<const char*>(values.data()), values.size_bytes());
}
