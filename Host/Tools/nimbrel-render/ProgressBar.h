#pragma once

#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>

namespace nimbrel::host {

/// A line on standard error that tells how far the work is. Shows only on a terminal. Any thread.
class ProgressBar {
public:
    ProgressBar(std::size_t frames, bool quiet);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void FrameDone();
    /// Progress that the effect reports within a frame, such as loading models.
    void Within(int current, int total);
    /// Takes the line away, so that a message can stand there.
    void Clear();

private:
    void Draw();

    std::mutex mMutex;
    std::size_t mFrames;
    std::size_t mDone = 0;
    std::string mWithin;
    std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
    bool mShows;
};

}  // namespace nimbrel::host
