#include "WindowsRender.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <png.h>
#include <sys/wait.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include <fmt/format.h>

namespace nimbrel::endtoend {
namespace {

namespace fs = std::filesystem;

// The whole file system is drive Z under Wine.
std::string WindowsPath(const fs::path& path) { return "Z:" + path.string(); }

host::Frame ReadExr(const fs::path& file) {
    Imf::InputFile input(file.c_str());
    const auto& window = input.header().dataWindow();
    host::Frame frame(window.max.x + 1, window.max.y + 1, 32);
    Imf::FrameBuffer buffer;
    const char* const names[] = {"A", "R", "G", "B"};
    for (std::size_t c = 0; c < 4; ++c)
        buffer.insert(names[c], Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(frame.mPixels.data()) + 4 * c,
                                           frame.PixelSize(), frame.RowSize()));
    input.setFrameBuffer(buffer);
    input.readPixels(window.min.y, window.max.y);
    return frame;
}

host::Frame ReadPng(const fs::path& file) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, file.c_str()) == 0) throw std::runtime_error(image.message);
    image.format = PNG_FORMAT_ARGB;
    host::Frame frame(static_cast<int>(image.width), static_cast<int>(image.height), 8);
    if (png_image_finish_read(&image, nullptr, frame.mPixels.data(), 0, nullptr) == 0)
        throw std::runtime_error(image.message);
    return frame;
}

}  // namespace

host::Frame RenderOnWindows(const Shot& shot) {
    Shot moved = shot;
    for (ShotModel& model : moved.mModels) model.mFile = WindowsPath(model.mFile);
    const fs::path folder = GetScratchFolder();
    const fs::path scene = folder / "scene.json";
    const fs::path said = folder / "said.txt";
    const fs::path picture = folder / (shot.mBitsPerChannel == 32 ? "frame.exr" : "frame.png");
    fs::remove(picture);
    std::ofstream(scene) << MakeSceneDocument(moved).dump();
    // The limit turns a program that hangs into one that fails, with status 124.
    const std::string command = fmt::format(
        "timeout -k 10 300 '{}' '{}/wine' '{}' '{}/bin/nimbrel-render.exe' '{}' --frames 0 --alpha straight --quiet "
        "-o '{}' >'{}' 2>&1",
        NIMBREL_WINE_RUN, NIMBREL_WINDOWS_BUILD, NIMBREL_WINE_LAYERS, NIMBREL_WINDOWS_BUILD, WindowsPath(scene),
        WindowsPath(picture), said.string());
    const int status = std::system(command.c_str());
    if (status != 0 || !fs::exists(picture)) {
        std::ifstream text(said);
        throw std::runtime_error(fmt::format("nimbrel-render.exe ended with status {}{} and said \"{}\"",
                                             WIFEXITED(status) ? WEXITSTATUS(status) : status,
                                             fs::exists(picture) ? "" : ", without a picture",
                                             std::string(std::istreambuf_iterator<char>(text), {})));
    }
    return shot.mBitsPerChannel == 32 ? ReadExr(picture) : ReadPng(picture);
}

}  // namespace nimbrel::endtoend
