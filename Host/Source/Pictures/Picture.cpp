#include "NimbrelHost/Pictures/Picture.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfOutputFile.h>
#include <fmt/format.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csetjmp>
#include <cstring>
#include <exception>
#include <new>
#include <string>

#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"
#include "NimbrelHost/Support/WholeFile.h"

namespace nimbrel::host {
namespace {

constexpr double kWhite16 = 32768;

/// Red, green, blue, alpha; white is 1.
using Rgba = std::array<double, 4>;

template <class Word>
Rgba LoadPixel(const std::uint8_t* pixel, double white) {
    std::array<Word, 4> argb;
    std::memcpy(argb.data(), pixel, sizeof(argb));
    return {argb[1] / white, argb[2] / white, argb[3] / white, argb[0] / white};
}

Rgba LoadPixel(const Frame& frame, int x, int y) {
    const std::uint8_t* pixel = frame.mPixels.data() + static_cast<std::size_t>(y) * frame.RowSize() +
                                static_cast<std::size_t>(x) * frame.PixelSize();
    switch (frame.mBitsPerChannel) {
        case 8: return LoadPixel<std::uint8_t>(pixel, 255);
        case 16: return LoadPixel<std::uint16_t>(pixel, kWhite16);
        default: return LoadPixel<float>(pixel, 1);
    }
}

// Frames are straight. Compositing premultiplies on the way, so what lies under full transparency vanishes.
Rgba Finish(const Rgba& straight, const PictureOptions& options) {
    const double alpha = straight[3];
    Rgba pixel = straight;
    if (options.mBackground) {
        for (int c = 0; c < 3; ++c) {
            pixel[static_cast<std::size_t>(c)] =
                straight[static_cast<std::size_t>(c)] * alpha + (*options.mBackground)[c] * (1 - alpha);
        }
        pixel[3] = 1;
    } else if (options.mAlpha == AlphaMode::Premultiplied) {
        for (std::size_t c = 0; c < 3; ++c) pixel[c] = straight[c] * alpha;
    }
    return pixel;
}

/// The pixels of a frame, finished, four words each; `store` makes a word of a channel.
template <class Word, class Store>
std::vector<Word> ConvertPixels(const Frame& frame, const PictureOptions& options, Store store) {
    std::vector<Word> words;
    words.reserve(static_cast<std::size_t>(frame.mWidth) * static_cast<std::size_t>(frame.mHeight) * 4);
    for (int y = 0; y < frame.mHeight; ++y) {
        for (int x = 0; x < frame.mWidth; ++x) {
            for (const double channel : Finish(LoadPixel(frame, x, y), options)) words.push_back(store(channel));
        }
    }
    return words;
}

/// What libpng's functions that write and fail need; it leaves by longjmp, which no exception may cross.
struct PngTarget {
    WholeFile& mFile;
    std::exception_ptr mFailure;
};

void WritePngBytes(png_structp png, png_bytep data, png_size_t size) {
    auto& target = *static_cast<PngTarget*>(png_get_io_ptr(png));
    try {
        target.mFile.Write(data, size);
    } catch (...) {
        target.mFailure = std::current_exception();
    }
    if (target.mFailure) png_error(png, "");
}

// libpng's own would print on standard error.
void LeavePng(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void IgnorePngWarning(png_structp, png_const_charp) {}

/// Nothing with a destructor lives in here. Gives false on failure.
bool EncodePng(PngTarget& target, const std::uint8_t* const* rows, int width, int height, int bits) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, LeavePng, IgnorePngWarning);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    if (info == nullptr || setjmp(png_jmpbuf(png)) != 0) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_set_write_fn(png, &target, WritePngBytes, nullptr);
    png_set_user_limits(png, 0x7fffffff, 0x7fffffff);
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), bits,
                 PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    // Splat pictures are noise to a packer: more effort costs much time and saves little.
    png_set_compression_level(png, 4);
    png_write_info(png, info);
    if (bits == 16) png_set_swap(png);  // files hold the high byte first
    png_write_image(png, const_cast<png_bytepp>(rows));
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

template <class Word>
void WritePngWords(const std::filesystem::path& file, const Frame& frame, const std::vector<Word>& words) {
    std::vector<const std::uint8_t*> rows;
    for (int y = 0; y < frame.mHeight; ++y) {
        rows.push_back(reinterpret_cast<const std::uint8_t*>(
            words.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(frame.mWidth) * 4));
    }
    WholeFile whole(file);
    PngTarget target{whole, nullptr};
    if (!EncodePng(target, rows.data(), frame.mWidth, frame.mHeight, static_cast<int>(sizeof(Word)) * 8)) {
        if (target.mFailure) std::rethrow_exception(target.mFailure);
        throw std::bad_alloc();  // all else that libpng may fail in here
    }
    whole.Commit();
}

/// OpenEXR's way to a file; what it reports of the file itself has the file's own name.
class ExrStream final : public Imf::OStream {
public:
    explicit ExrStream(WholeFile& file) : OStream("the file"), mFile(file) {}

    void write(const char* data, int size) override { mFile.Write(data, static_cast<std::size_t>(size)); }
    std::uint64_t tellp() override { return mFile.GetPosition(); }
    void seekp(std::uint64_t place) override { mFile.SetPosition(place); }

private:
    WholeFile& mFile;
};

}  // namespace

Frame::Frame(int width, int height, int bitsPerChannel)
    : mWidth(width), mHeight(height), mBitsPerChannel(bitsPerChannel) {
    mPixels.resize(RowSize() * static_cast<std::size_t>(height));
}

void WritePng(const std::filesystem::path& file, const Frame& frame, const PictureOptions& options) {
    // Rounded half up and clamped: premultiplied colours and words over the host's white stay in range.
    const auto scaled = [](double channel, double white) {
        return std::clamp(std::floor(channel * white + 0.5), 0.0, white);
    };
    if (frame.mBitsPerChannel == 8) {
        WritePngWords(file, frame, ConvertPixels<std::uint8_t>(frame, options, [&](double channel) {
                          return static_cast<std::uint8_t>(scaled(channel, 255));
                      }));
    } else if (frame.mBitsPerChannel == 16) {
        WritePngWords(file, frame, ConvertPixels<std::uint16_t>(frame, options, [&](double channel) {
                          return static_cast<std::uint16_t>(scaled(channel, 65535));
                      }));
    } else {
        throw OutputError(
            fmt::format("{}: PNG holds 8 or 16 bits per channel, not {}", PathText(file), frame.mBitsPerChannel));
    }
}

void WriteExr(const std::filesystem::path& file, const Frame& frame, const PictureOptions& options) {
    std::vector<float> words =
        ConvertPixels<float>(frame, options, [](double channel) { return static_cast<float>(channel); });
    WholeFile whole(file);
    try {
        ExrStream stream(whole);
        Imf::Header header(frame.mWidth, frame.mHeight);
        Imf::FrameBuffer buffer;
        const char* const names[] = {"R", "G", "B", "A"};
        const std::size_t pixel = 4 * sizeof(float);
        for (std::size_t c = 0; c < 4; ++c) {
            header.channels().insert(names[c], Imf::Channel(Imf::FLOAT));
            buffer.insert(names[c], Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(words.data() + c), pixel,
                                               pixel * static_cast<std::size_t>(frame.mWidth)));
        }
        Imf::OutputFile output(stream, header);
        output.setFrameBuffer(buffer);
        output.writePixels(frame.mHeight);
    } catch (const OutputError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& exception) {
        throw OutputError(fmt::format("{}: cannot be written: {}", PathText(file), exception.what()));
    }
    whole.Commit();
}

}  // namespace nimbrel::host
