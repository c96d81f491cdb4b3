#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <png.h>

#include <array>
#include <cstdint>
#include <exception>
#include <fstream>
#include <new>

#include "NimbrelHost/Pictures/Picture.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {
namespace {

/// Bits per channel that a PNG file states, behind its signature, the first chunk's head and the size; 0 for none.
int ReadPngDepth(const std::filesystem::path& file) {
    std::array<char, 25> head{};
    std::ifstream stream(file, std::ios::binary);
    stream.read(head.data(), head.size());
    return stream ? head[24] : 0;
}

// All of it is unpacked: checksums tell what was damaged, and the end what is missing.
bool IsWholePng(const std::filesystem::path& file, int width, int height, int bits) {
    if (ReadPngDepth(file) != bits) return false;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, PathText(file).c_str()) == 0) return false;
    image.format = PNG_FORMAT_RGBA;
    bool good = image.width == static_cast<png_uint_32>(width) && image.height == static_cast<png_uint_32>(height);
    if (good) {
        std::vector<std::uint8_t> pixels(PNG_IMAGE_SIZE(image));
        good = png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr) != 0;
    }
    png_image_free(&image);
    // libpng is content with the last row; what follows it was cut if there is no end.
    std::array<char, 12> end{};
    std::ifstream stream(file, std::ios::binary);
    stream.seekg(-static_cast<std::streamoff>(end.size()), std::ios::end);
    stream.read(end.data(), end.size());
    return good && stream && std::string_view(end.data() + 4, 4) == "IEND";
}

bool IsWholeExr(const std::filesystem::path& file, int width, int height) {
    try {
        Imf::InputFile input(PathText(file).c_str());
        const Imath::Box2i frame = input.header().displayWindow(), data = input.header().dataWindow();
        const bool fits = frame.min == Imath::V2i(0, 0) && frame.max == Imath::V2i(width - 1, height - 1);
        if (!input.isComplete() || !fits || data.min != frame.min || data.max != frame.max) return false;
        std::vector<float> row(static_cast<std::size_t>(width));
        Imf::FrameBuffer buffer;
        for (auto channel = input.header().channels().begin(); channel != input.header().channels().end(); ++channel) {
            // Every row into the same place: only whether it can be read counts.
            buffer.insert(channel.name(),
                          Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(row.data()), sizeof(float), 0));
        }
        input.setFrameBuffer(buffer);
        input.readPixels(data.min.y, data.max.y);
        return true;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

bool IsWholePicture(const std::filesystem::path& file, int width, int height, int bitsPerChannel) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) return false;
    return bitsPerChannel == 32 ? IsWholeExr(file, width, height) : IsWholePng(file, width, height, bitsPerChannel);
}

}  // namespace nimbrel::host
