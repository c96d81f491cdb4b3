#include "PluginBase/Render/DeviceKeeper.h"

#include <algorithm>
#include <new>
#include <utility>

#include "PluginBase/Render/Failures.h"

namespace zeb::render {
namespace {

// Frames on a lost device fail at their next call, so that this is reached by none that the device is to blame for.
constexpr std::chrono::seconds kPatience{10};

}  // namespace

class DeviceKeeper::Hold {
public:
    explicit Hold(DeviceKeeper& keeper) : mKeeper(keeper), mOpened(keeper.Begin()) {}
    ~Hold() { mKeeper.End(mOpened); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    void Draw(const std::function<void(Device&)>& draw) {
        Device& device = mOpened->mRender->GetAnyDevice();
        try {
            if (TryDraw(device, draw)) return;
            device.ReleaseIdleThreadData();
            const FrameScope frame(device);
            draw(device);
        } catch (const DeviceLostException&) {
            mKeeper.NoteLoss(*mOpened);
            throw;
        }
    }

private:
    /// False where memory ran out.
    static bool TryDraw(Device& device, const std::function<void(Device&)>& draw) {
        try {
            const FrameScope frame(device);
            draw(device);
            return true;
        } catch (const OutOfMemoryException&) {
            return false;
        } catch (const std::bad_alloc&) {
            return false;
        }
    }

    DeviceKeeper& mKeeper;
    std::shared_ptr<Opened> mOpened;
};

DeviceKeeper::DeviceKeeper(Open open, std::function<TimePoint()> now)
    : mOpen(std::move(open)), mNow(std::move(now)), mOpened(std::make_shared<Opened>()) {
    mOpened->mRender = mOpen();
    mDescription = mOpened->mRender->GetDescription();
}

DeviceKeeper::~DeviceKeeper() = default;

void DeviceKeeper::DrawFrame(const std::function<void(Device&)>& draw) { Hold(*this).Draw(draw); }

std::string DeviceKeeper::GetDescription() const {
    const std::lock_guard lock(mMutex);
    return mDescription;
}

std::shared_ptr<DeviceKeeper::Opened> DeviceKeeper::Begin() {
    std::unique_lock lock(mMutex);
    WaitForLostDevice(lock);
    if (mOpened == nullptr) Reopen(lock);
    mOpened->mFrames.push_back(std::this_thread::get_id());
    return mOpened;
}

void DeviceKeeper::WaitForLostDevice(std::unique_lock<std::mutex>& lock) {
    const auto isSettled = [this] { return !mIsBusy && (mOpened == nullptr || !mOpened->mIsLost); };
    if (isSettled()) return;
    // A frame within one that is on the lost device would wait for itself.
    const std::thread::id self = std::this_thread::get_id();
    const bool isNested = mOpened != nullptr && std::ranges::count(mOpened->mFrames, self) != 0;
    if (isNested || !mChanged.wait_for(lock, kPatience, isSettled)) std::rethrow_exception(mFailure);
}

void DeviceKeeper::Reopen(std::unique_lock<std::mutex>& lock) {
    const TimePoint now = mNow();
    std::erase_if(mOpenings, [now](TimePoint opening) { return now - opening >= kOpeningsTime; });
    if (mOpenings.size() >= kMaxOpenings) std::rethrow_exception(mFailure);
    mOpenings.push_back(now);
    mIsBusy = true;
    lock.unlock();
    auto opened = std::make_shared<Opened>();
    std::string description;
    std::exception_ptr failure;
    try {
        opened->mRender = mOpen();
        description = opened->mRender->GetDescription();
    } catch (...) {
        failure = std::current_exception();
        opened->mRender.reset();
    }
    lock.lock();
    mIsBusy = false;
    mChanged.notify_all();
    if (failure != nullptr) {
        mFailure = failure;
        std::rethrow_exception(failure);
    }
    mOpened = std::move(opened);
    mDescription = std::move(description);
}

void DeviceKeeper::End(const std::shared_ptr<Opened>& opened) noexcept {
    std::unique_lock lock(mMutex);
    opened->mFrames.erase(std::ranges::find(opened->mFrames, std::this_thread::get_id()));
    if (!opened->mIsLost || !opened->mFrames.empty()) return;
    mIsBusy = true;
    mOpened.reset();
    lock.unlock();
    opened->mRender.reset();
    lock.lock();
    mIsBusy = false;
    mChanged.notify_all();
}

void DeviceKeeper::NoteLoss(Opened& opened) noexcept {
    const std::lock_guard lock(mMutex);
    if (!opened.mIsLost) mFailure = std::current_exception();
    opened.mIsLost = true;
}

}  // namespace zeb::render
