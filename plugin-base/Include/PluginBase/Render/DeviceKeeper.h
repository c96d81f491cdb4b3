#pragma once

#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "PluginBase/Render/Render.h"

namespace zeb::render {

/// The device that frames are drawn on, for as long as it serves.
///
/// A lost device fails the frames that are on it, each with its own message. When the last of them has ended, all that
/// was made with the device is let go, and the next frame opens a new one. A graphics interface may have but one device
/// for an adapter, so that no new one is opened while frames of other threads are still on the lost one: a frame that
/// begins meanwhile waits for them. Thread: any.
class DeviceKeeper {
public:
    using Open = std::function<UniquePtr<Render>()>;
    using TimePoint = std::chrono::steady_clock::time_point;

    /// New devices are opened no more often than this; between, frames fail with the last loss's message.
    static constexpr std::size_t kMaxOpenings = 3;
    static constexpr std::chrono::seconds kOpeningsTime{60};

    /// Opens the first device, and passes on why that failed. `now` is the time that openings are counted in.
    explicit DeviceKeeper(Open open, std::function<TimePoint()> now = std::chrono::steady_clock::now);
    ~DeviceKeeper();
    DeviceKeeper(const DeviceKeeper&) = delete;
    DeviceKeeper& operator=(const DeviceKeeper&) = delete;

    /// One frame of the calling thread: calls `draw` with the device. Frames of one thread nest. Where memory runs out,
    /// what idle threads keep on the device is given back, and `draw` is called once more.
    void DrawFrame(const std::function<void(Device&)>& draw);

    /// Render::GetDescription; of the lost device until a new one is open.
    std::string GetDescription() const;

private:
    /// An open device and the threads whose frames are on it.
    struct Opened {
        UniquePtr<Render> mRender;
        std::vector<std::thread::id> mFrames;
        bool mIsLost = false;
    };
    /// A frame's hold on the device.
    class Hold;

    std::shared_ptr<Opened> Begin();
    void End(const std::shared_ptr<Opened>& opened) noexcept;
    void NoteLoss(Opened& opened) noexcept;
    void WaitForLostDevice(std::unique_lock<std::mutex>& lock);
    void Reopen(std::unique_lock<std::mutex>& lock);

    Open mOpen;
    std::function<TimePoint()> mNow;
    mutable std::mutex mMutex;
    std::condition_variable mChanged;
    std::shared_ptr<Opened> mOpened;  ///< null after a loss, once all is let go
    std::string mDescription;
    std::exception_ptr mFailure;       ///< the last loss, or why no new device could be opened
    std::vector<TimePoint> mOpenings;  ///< of the last kOpeningsTime, without the first
    bool mIsBusy = false;              ///< a thread opens a device or lets one go
};

}  // namespace zeb::render
