#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace nimbrel::host {

/// The frame that a thread renders, as long as this object lives: what is reported meanwhile belongs to it.
class FrameScope {
public:
    explicit FrameScope(int frame) : mOuter(std::exchange(tFrame, frame)) {}
    ~FrameScope() { tFrame = mOuter; }
    FrameScope(const FrameScope&) = delete;
    FrameScope& operator=(const FrameScope&) = delete;

    static std::optional<int> GetFrame() { return tFrame; }

private:
    static inline thread_local std::optional<int> tFrame;
    std::optional<int> mOuter;
};

/// What deserves a warning: what the effect did wrong with the host's interface (a leaked handle, a receipt checked in
/// twice), a model or a value that is not what it should be. Gathered, so that tests can demand silence, and told to a
/// listener at once. Any thread.
class Diagnostics {
public:
    using Listener = std::function<void(const std::string& text, std::optional<int> frame)>;

    void Report(std::string text) {
        const std::scoped_lock lock(mMutex);
        mTexts.push_back(std::move(text));
        if (mListener) mListener(mTexts.back(), FrameScope::GetFrame());
    }

    /// Hears of every report, one at a time, on the thread that makes it; must not report itself.
    void SetListener(Listener listener) {
        const std::scoped_lock lock(mMutex);
        mListener = std::move(listener);
    }

    /// The same, and begins anew.
    std::vector<std::string> Take() {
        const std::scoped_lock lock(mMutex);
        return std::exchange(mTexts, {});
    }

    std::vector<std::string> Get() const {
        const std::scoped_lock lock(mMutex);
        return mTexts;
    }

private:
    mutable std::mutex mMutex;
    std::vector<std::string> mTexts;
    Listener mListener;
};

}  // namespace nimbrel::host
