#include "PngFile.h"

#include <png.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>

#include <fmt/format.h>

namespace nimbrel::sheet {
namespace {

constexpr std::uint64_t kMaxPixels = std::uint64_t{1} << 26;
constexpr int kBestCompression = 9;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// Frees what libpng's simplified reading holds, whichever way it ends.
struct ReadState {
    ReadState() { mImage.version = PNG_IMAGE_VERSION; }
    ReadState(const ReadState&) = delete;
    ReadState& operator=(const ReadState&) = delete;
    ~ReadState() { png_image_free(&mImage); }

    png_image mImage{};
};

/// libpng leaves by longjmp, so nothing with a destructor lives in here. Gives false on failure.
bool WriteRows(std::FILE* file, int width, int height, png_bytep* rows) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    if (info == nullptr || setjmp(png_jmpbuf(png)) != 0) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8, PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png, kBestCompression);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_ALL_FILTERS);
    png_write_info(png, info);
    png_write_image(png, rows);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

}  // namespace

Image ReadPng(const std::string& file, Color background) {
    ReadState state;
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
    std::vector<png_bytep> rows;
    rows.reserve(static_cast<std::size_t>(image.mHeight));
    for (int y = 0; y < image.mHeight; ++y) rows.push_back(const_cast<png_bytep>(image.At(0, y)));
    std::unique_ptr<std::FILE, CloseFile> out(std::fopen(beside.c_str(), "wb"));
    bool written = out != nullptr && WriteRows(out.get(), image.mWidth, image.mHeight, rows.data());
    if (out != nullptr) written = std::fclose(out.release()) == 0 && written;
    std::error_code error;
    if (written) std::filesystem::rename(beside, file, error);
    if (!written || error) {
        std::error_code ignored;
        std::filesystem::remove(beside, ignored);
        throw std::runtime_error(fmt::format("cannot write \"{}\"", file));
    }
}

}  // namespace nimbrel::sheet
