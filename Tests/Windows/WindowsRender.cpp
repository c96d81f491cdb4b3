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

#include "RenderedShot.h"

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

/// `arguments` as for a shell. Throws unless the program ends well and leaves `result` behind.
void RunOnWindows(const std::string& program, const std::string& arguments, const fs::path& result) {
    const fs::path said = GetScratchFolder() / "said.txt";
    fs::remove(result);
    // The limit turns a program that hangs into one that fails, with status 124.
    const std::string command = fmt::format("timeout -k 10 300 '{}' '{}/wine' '{}' '{}/bin/{}.exe' {} >'{}' 2>&1",
                                            NIMBREL_WINE_RUN, NIMBREL_WINDOWS_BUILD, NIMBREL_WINE_LAYERS,
                                            NIMBREL_WINDOWS_BUILD, program, arguments, said.string());
    const int status = std::system(command.c_str());
    if (status == 0 && fs::exists(result)) return;
    std::ifstream text(said);
    throw std::runtime_error(fmt::format(
        "{}.exe ended with status {}{} and said \"{}\"", program, WIFEXITED(status) ? WEXITSTATUS(status) : status,
        fs::exists(result) ? "" : ", without a result", std::string(std::istreambuf_iterator<char>(text), {})));
}

std::vector<std::uint32_t> ReadWords(const FrameCapture& bytes) {
    std::vector<std::uint32_t> words(bytes.get_binary().size() / 4);
    std::memcpy(words.data(), bytes.get_binary().data(), 4 * words.size());
    return words;
}

}  // namespace

host::Frame DrawThumbnailOnWindows(const fs::path& model) {
    const fs::path picture = GetScratchFolder() / "thumbnail.png";
    RunOnWindows("nimbrel-render",
                 fmt::format("--model '{}' --thumbnail '{}'", WindowsPath(model), WindowsPath(picture)), picture);
    return ReadPng(picture);
}

host::Frame RenderOnWindows(const Shot& shot, const std::string& device) {
    Shot moved = shot;
    for (ShotModel& model : moved.mModels) model.mFile = WindowsPath(model.mFile);
    const fs::path scene = GetScratchFolder() / "scene.json";
    const fs::path picture = GetScratchFolder() / (shot.mBitsPerChannel == 32 ? "frame.exr" : "frame.png");
    std::ofstream(scene) << MakeSceneDocument(moved).dump();
    RunOnWindows("nimbrel-render",
                 fmt::format("'{}' --gpu {} --frames 0 --alpha straight --quiet -o '{}'", WindowsPath(scene), device,
                             WindowsPath(picture)),
                 picture);
    return shot.mBitsPerChannel == 32 ? ReadExr(picture) : ReadPng(picture);
}

std::vector<SortedSplats> SortOnWindows(const std::vector<Shot>& shots) {
    FrameCapture captures = FrameCapture::array();
    for (const Shot& shot : shots) {
        captures.push_back(MakeCapture(shot));
        for (FrameCapture& model : captures.back().at("models"))
            model["file"] = WindowsPath(model.at("file").get<std::string>());
    }
    const fs::path input = GetScratchFolder() / "captures.cbor";
    const fs::path output = GetScratchFolder() / "sorted.cbor";
    {
        std::ofstream stream(input, std::ios::binary);
        FrameCapture::to_cbor(captures, stream);
    }
    RunOnWindows("DrawCaptures", fmt::format("'{}' '{}'", WindowsPath(input), WindowsPath(output)), output);
    std::ifstream stream(output, std::ios::binary);
    std::vector<SortedSplats> sorted;
    for (const FrameCapture& frame : FrameCapture::from_cbor(stream))
        sorted.push_back({ReadWords(frame.at("keys")), ReadWords(frame.at("order"))});
    return sorted;
}

}  // namespace nimbrel::endtoend
