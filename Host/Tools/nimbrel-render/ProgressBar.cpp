#include "ProgressBar.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace nimbrel::host {
namespace {

bool IsTerminal() {
#ifdef _WIN32
    return _isatty(2) != 0;
#else
    return isatty(2) != 0;
#endif
}

}  // namespace

ProgressBar::ProgressBar(std::size_t frames, bool quiet) : mFrames(frames), mShows(!quiet && IsTerminal()) {
    const std::scoped_lock lock(mMutex);
    Draw();
}

ProgressBar::~ProgressBar() { Clear(); }

void ProgressBar::FrameDone() {
    const std::scoped_lock lock(mMutex);
    ++mDone;
    mWithin.clear();
    Draw();
}

// A total that is reached means the effect goes on to render.
void ProgressBar::Within(int current, int total) {
    const std::scoped_lock lock(mMutex);
    mWithin = current < total ? fmt::format("  loading {}/{}", current, total) : "";
    Draw();
}

void ProgressBar::Clear() {
    const std::scoped_lock lock(mMutex);
    if (mShows) fmt::print(stderr, "\r\x1b[K");
}

// One line, drawn over itself; called under the lock.
void ProgressBar::Draw() {
    if (!mShows) return;
    constexpr std::size_t width = 30;
    const std::size_t filled = mFrames == 0 ? width : std::min(width, width * mDone / mFrames);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - mStart).count();
    const std::string rate =
        mDone > 0 && seconds > 0 ? fmt::format("  {:.2f} frames/s", static_cast<double>(mDone) / seconds) : "";
    fmt::print(stderr, "\r[{:<{}}] {}/{} frames{}{}\x1b[K", std::string(filled, '='), width, mDone, mFrames, rate,
               mWithin);
    std::fflush(stderr);
}

}  // namespace nimbrel::host
