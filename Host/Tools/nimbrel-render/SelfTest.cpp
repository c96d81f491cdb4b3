#include "SelfTest.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/utsname.h>
#endif

#include "../nimbrel-make-model/ModelMaker.h"
#include "NimbrelHost/Output/Output.h"
#include "NimbrelHost/Output/RenderJob.h"
#include "NimbrelHost/Suites/AddSuites.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"
#include "NimbrelHost/User/Settings.h"
#include "NimbrelVersion.h"

namespace nimbrel::host {
namespace {

/// One picture, and how far a device may be from the processor's cores.
struct TestScene {
    const char* mName;
    int mBitsPerChannel;
    double mLeastPsnr;  ///< dB
    double mMostOff;    ///< share of pixels that differ by more than a step of 8 bits
    const char* mSettings;
    bool mIsOrthographic = false;
};

// Devices interpolate and round in their own ways: 32 bits differ in the last digits, 8 bits in a step of a blend, and
// wires in single pixels of their edges.
constexpr std::array kScenes = {
    TestScene{"Plain, 32 bits", 32, 60, 0.001, "{}"},
    TestScene{"Plain, 16 bits", 16, 60, 0.001, "{}"},
    TestScene{"Plain, 8 bits", 8, 45, 0.01, "{}"},
    TestScene{"Crop", 32, 60, 0.001,
              R"({"Model1_crop_shape_enabled": true, "Model1_crop_shape_type": "Box", "Model1_crop_shape_size": 60})"},
    TestScene{"Colour", 32, 60, 0.001,
              R"({"Model1_effects_splatColor_enabled": true, "Model1_effects_splatColor_shape_size": 60,
                  "Model1_effects_splatColor_gradient":
                      {"keys": [[0, {"color": [1, 0.5, 0], "type": 0}], [1, {"color": [0, 0.5, 1], "type": 0}]]}})"},
    TestScene{"Opacity", 32, 60, 0.001,
              R"({"Model1_effects_splatOpacity_enabled": true, "Model1_effects_splatOpacity_shape_size": 60})"},
    TestScene{"Scale", 32, 60, 0.001,
              R"({"Model1_effects_splatScale_enabled": true, "Model1_effects_splatScale_shape_size": 60})"},
    TestScene{"Noise", 32, 55, 0.002,
              R"({"Model1_effects_noise_enabled": true, "Model1_effects_noise_amplitude": 20,
                  "Model1_effects_noise_shape_size": 80, "Model1_effects_noise_settings_seed": 3})"},
    TestScene{"Z depth", 32, 50, 0.01,
              R"({"RenderSettings_drawZDepth_drawZDepthEnabled": true, "RenderSettings_drawZDepth_zDepthNear": 300,
                  "RenderSettings_drawZDepth_zDepthFar": 550})"},
    TestScene{"Wires", 8, 30, 0.05,
              R"({"Model1_crop_shape_enabled": true, "Model1_crop_shape_type": "Box", "Model1_crop_shape_size": 60,
                  "Model1_crop_shape_preview": true})"},
    TestScene{"Orthographic", 32, 60, 0.001, "{}", true},
};

constexpr int kWidth = 480;
constexpr int kHeight = 270;
constexpr std::int64_t kSplats = 20000;

/// The scenes' model, in the system's folder of temporary files as long as the test runs.
class TestModel {
public:
    TestModel()
        : mPath(
              std::filesystem::temp_directory_path() /
              fmt::format("nimbrel-self-test-{:x}.ply", std::chrono::steady_clock::now().time_since_epoch().count())) {
        maker::ModelOptions options;
        options.mCount = kSplats;
        std::ofstream file(mPath, std::ios::binary);
        maker::WriteModel(options, file);
        file.close();
        if (!file) throw OutputError(fmt::format("cannot write \"{}\"", PathText(mPath)));
    }
    ~TestModel() {
        std::error_code ignored;
        std::filesystem::remove(mPath, ignored);
    }
    TestModel(const TestModel&) = delete;
    TestModel& operator=(const TestModel&) = delete;
    const std::filesystem::path& GetPath() const { return mPath; }

private:
    std::filesystem::path mPath;
};

struct Rendered {
    Frame mFrame;
    double mMs = 0;  ///< of a second rendering, when all is loaded
    std::string mDevice;
};

/// Name, kind, why it was chosen and its driver.
std::string DescribeDevice(const DeviceReport& report) {
    for (const DeviceReport::Device& device : report.GetDevices()) {
        if (device.mChosen) return fmt::format("{}, {}, {}", device.mName, device.mKind, device.mReason);
    }
    return "unknown";
}

Rendered Render(const HostOptions& options, const Catalogue& catalogue, const TestScene& scene,
                const std::filesystem::path& model) {
    Composition composition;
    composition.mWidth = kWidth;
    composition.mHeight = kHeight;
    composition.mBitsPerChannel = scene.mBitsPerChannel;
    std::optional<Camera> camera;
    if (scene.mIsOrthographic) {
        camera = DefaultCamera(kWidth, kHeight);
        camera->mType = Camera::Type::Orthographic;
    }
    Host host(options, composition, camera, catalogue, AddSuites);
    host.Start();
    const std::filesystem::path folder = model.parent_path();
    ApplySetting(host, {"Model1_model", Json(PathText(model)), "--self-test", "Model1_model", folder, {}});
    FitModels(host);
    const Json settings = Json::parse(scene.mSettings);
    for (const auto& [id, value] : settings.items()) ApplySetting(host, {id, value, "--self-test", id, folder, {}});
    Rendered rendered;
    FrameTimes times;
    RenderFrame(host, 0, times);
    times = {};
    rendered.mFrame = RenderFrame(host, 0, times);
    rendered.mMs = times.mRenderMs;
    rendered.mDevice = DescribeDevice(host.GetDevices());
    host.Stop();
    return rendered;
}

/// A channel from 0 to 1, where the format has an end.
double GetChannel(const Frame& frame, std::size_t index) {
    const std::uint8_t* const at = frame.mPixels.data() + index * frame.PixelSize() / 4;
    if (frame.mBitsPerChannel == 8) return *at / 255.0;
    if (frame.mBitsPerChannel == 16) {
        std::uint16_t value = 0;
        std::memcpy(&value, at, sizeof(value));
        return value / 32768.0;
    }
    float value = 0;
    std::memcpy(&value, at, sizeof(value));
    return static_cast<double>(value);
}

struct Difference {
    double mPsnr = 0;  ///< dB, of a peak of 1
    double mOff = 0;   ///< share of pixels that differ by more than a step of 8 bits
    bool mIsEmpty = true;
};

/// Colours count by how much of them shows, for a straight colour without alpha may be anything.
Difference Compare(const Frame& a, const Frame& b) {
    constexpr double kStep = 1.0 / 255 + 1e-6;
    const std::size_t pixels = static_cast<std::size_t>(a.mWidth) * static_cast<std::size_t>(a.mHeight);
    double sum = 0;
    std::size_t off = 0;
    bool isEmpty = true;
    for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
        const double alphaA = GetChannel(a, pixel * 4);
        const double alphaB = GetChannel(b, pixel * 4);
        bool isOff = false;
        for (std::size_t channel = 0; channel < 4; ++channel) {
            const std::size_t index = pixel * 4 + channel;
            const double difference =
                channel == 0 ? alphaA - alphaB : GetChannel(a, index) * alphaA - GetChannel(b, index) * alphaB;
            sum += difference * difference;
            isOff |= !(std::abs(difference) <= kStep);
        }
        off += isOff ? 1 : 0;
        isEmpty &= !(alphaA > 0);
    }
    const double error = sum / (4.0 * static_cast<double>(pixels));
    const double psnr = std::isfinite(error) ? std::min(-10 * std::log10(error), 999.0) : 0.0;
    return {psnr, static_cast<double>(off) / static_cast<double>(pixels), isEmpty};
}

std::string DescribeSystem() {
#if defined(_WIN32)
    using Function = LONG(WINAPI*)(OSVERSIONINFOW*);
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof(version);
    const HMODULE library = GetModuleHandleW(L"ntdll.dll");
    const auto get =
        library == nullptr
            ? nullptr
            : reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, "RtlGetVersion")));
    if (get == nullptr || get(&version) != 0) return "Windows";
    return fmt::format("Windows {}.{}.{}", version.dwMajorVersion, version.dwMinorVersion, version.dwBuildNumber);
#else
    utsname name = {};
    if (uname(&name) != 0) return "unknown system";
    return fmt::format("{} {} {}", name.sysname, name.release, name.machine);
#endif
}

}  // namespace

int RunSelfTest(HostOptions options, const Catalogue& catalogue, const std::string& report) {
    const TestModel model;
    HostOptions onCpu = options;
    onCpu.mDevice = "cpu";
    onCpu.mValidate = false;
    std::string text;
    const auto tell = [&](const std::string& line) {
        fmt::print("{}\n", line);
        std::fflush(stdout);
        text += line + "\n";
    };
    int failures = 0;
    for (const TestScene& scene : kScenes) {
        const Rendered expected = Render(onCpu, catalogue, scene, model.GetPath());
        const Rendered rendered = Render(options, catalogue, scene, model.GetPath());
        if (&scene == kScenes.data()) {
            tell(fmt::format("nimbrel-render {} self-test, {}", NIMBREL_VERSION, DescribeSystem()));
            tell(fmt::format("device:   {}", rendered.mDevice));
            tell(fmt::format("compared: {}", expected.mDevice));
            tell(fmt::format("{:<16} {:>9} {:>11} {:>9}  {}", "SCENE", "PSNR, dB", "PIXELS OFF", "MS", "RESULT"));
        }
        const Difference difference = Compare(rendered.mFrame, expected.mFrame);
        const bool isGood =
            !difference.mIsEmpty && difference.mPsnr >= scene.mLeastPsnr && difference.mOff <= scene.mMostOff;
        failures += isGood ? 0 : 1;
        tell(fmt::format("{:<16} {:>9.1f} {:>9.3f} % {:>9.1f}  {}", scene.mName, difference.mPsnr,
                         100 * difference.mOff, rendered.mMs, isGood ? "good" : "DIFFERS"));
    }
    tell(failures == 0 ? "All scenes are as they should be."
                       : fmt::format("{} of {} scenes differ.", failures, kScenes.size()));
    text.pop_back();  // a text file gets its last line end when it is written
    if (!report.empty()) WriteTextFile(TextPath(report), text);
    return failures == 0 ? kExitDone : kExitFailed;
}

}  // namespace nimbrel::host
