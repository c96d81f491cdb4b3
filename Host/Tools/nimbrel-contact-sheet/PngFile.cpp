#include "PngFile.h"

#include <png.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <fmt/format.h>

namespace nimbrel::sheet {
namespace {

constexpr std::uint64_t kMaxPixels = std::uint64_t{1} << 26;

/// Frees what libpng's simplified interface holds, whichever way it ends.
struct PngImage {
    PngImage() { mImage.version = PNG_IMAGE_VERSION; }
    PngImage(const PngImage&) = delete;
    PngImage& operator=(const PngImage&) = delete;
    ~PngImage() { png_image_free(&mImage); }

    png_image mImage{};
};

}  // namespace

Image ReadPng(const std::string& file, Color background) {
    PngImage state;
    png_image& png = state.mImage;
    if (png_image_begin_read_from_file(&png, file.c_str()) == 0) {
        throw std::runtime_error(fmt::format("cannot read \"{}\": {}", file, png.message));
    }
    if (std::uint64_t{png.width} * png.height > kMaxPixels) {
        throw std::runtime_error(fmt::format("\"{}\" is too large: {} x {}", file, png.width, png.height));
    }
    png.format = PNG_FORMAT_RGB;
    Image image(static_cast<int>(png.width), static_cast<int>(png.height));
    const png_color color{background[0], background[1], background[2]};
    if (png_image_finish_read(&png, &color, image.mPixels.data(), 0, nullptr) == 0) {
        throw std::runtime_error(fmt::format("cannot read \"{}\": {}", file, png.message));
    }
    return image;
}

void WritePng(const std::string& file, const Image& image) {
    const std::string beside = file + ".part";
    PngImage png;
    png.mImage.width = static_cast<png_uint_32>(image.mWidth);
    png.mImage.height = static_cast<png_uint_32>(image.mHeight);
    png.mImage.format = PNG_FORMAT_RGB;
    std::error_code error;
    if (png_image_write_to_file(&png.mImage, beside.c_str(), 0, image.mPixels.data(), 0, nullptr) != 0) {
        std::filesystem::rename(beside, file, error);
        if (!error) return;
    }
    std::filesystem::remove(beside, error);
    throw std::runtime_error(fmt::format("cannot write \"{}\"", file));
}

}  // namespace nimbrel::sheet
