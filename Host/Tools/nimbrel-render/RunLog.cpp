#include "RunLog.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>

#include "NimbrelHost/Output/RenderJob.h"
#include "NimbrelHost/Support/Text.h"

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

// A message of one line stays one, whatever its text holds.
std::string OneLine(const std::string& text) {
    std::string line = MakePrintable(text);
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

std::uint64_t Mebibytes() { return GetPeakMemory() >> 20; }

// Nobody reads what cannot be written; the run goes on.
void Put(std::FILE* stream, std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

}  // namespace

LogMode ChooseLogMode() { return IsTerminal() ? LogMode::Bar : LogMode::Lines; }

RunLog::~RunLog() {
    const std::scoped_lock lock(mMutex);
    Clear();
}

void RunLog::Begin(std::size_t frames, std::size_t skipped) {
    const std::scoped_lock lock(mMutex);
    mHasBegun = true;
    mFrames = frames;
    mSkipped = skipped;
    mDone = skipped;
    mStart = std::chrono::steady_clock::now();
    if (mMode == LogMode::Lines && skipped > 0)
        Print(fmt::format("Skipped: {} of {} frames, whose files stand there whole", skipped, frames));
    if (mMode == LogMode::Json) PrintJson({{"event", "begin"}, {"frames", frames}, {"skipped", skipped}});
    if (mMode == LogMode::OpenJd) Put(stdout, fmt::format("openjd_status: rendering {} frames\n", frames - skipped));
    Draw();
}

void RunLog::FrameSaved(const SavedFrame& frame) {
    const std::scoped_lock lock(mMutex);
    ++mDone;
    mFrameSeconds += frame.mSeconds;
    mWithin.clear();
    const double percent = 100.0 * static_cast<double>(mDone) / static_cast<double>(std::max<std::size_t>(1, mFrames));
    const std::string line = fmt::format("Saved: '{}' {:.2f} s, {} MiB, {} of {}", OneLine(frame.mFile), frame.mSeconds,
                                         Mebibytes(), mDone, mFrames);
    switch (mMode) {
        case LogMode::Bar: Draw(); break;
        case LogMode::Lines: Print(line); break;
        case LogMode::Json:
            PrintJson({{"event", "frame"},
                       {"frame", frame.mFrame},
                       {"file", frame.mFile},
                       {"seconds", frame.mSeconds},
                       {"peak_rss_bytes", GetPeakMemory()},
                       {"done", mDone},
                       {"frames", mFrames}});
            break;
        case LogMode::OpenJd:
            Put(stdout, fmt::format("openjd_progress: {:.2f}\nopenjd_status: {}\n", percent, line));
            break;
        case LogMode::None: break;
    }
}

// A total that is reached means the effect goes on to render.
void RunLog::Within(int current, int total) {
    const std::scoped_lock lock(mMutex);
    mWithin = current < total ? fmt::format("  loading {}/{}", current, total) : "";
    Draw();
}

void RunLog::Note(const std::string& text) {
    const std::scoped_lock lock(mMutex);
    if (mMode == LogMode::Json) return PrintJson({{"event", "note"}, {"text", text}});
    Print(fmt::format("nimbrel-render: {}", text));
}

void RunLog::Message(const std::string& text) {
    const std::scoped_lock lock(mMutex);
    if (mMode == LogMode::Json) return PrintJson({{"event", "message"}, {"text", text}});
    Print(text);
}

void RunLog::Answer(const std::string& text) {
    const std::scoped_lock lock(mMutex);
    Clear();
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fputc('\n', stdout);
}

void RunLog::Warn(const std::string& text, std::optional<int> frame) {
    const std::scoped_lock lock(mMutex);
    mWarnings.push_back({text, frame});
    if (mMode == LogMode::Json) {
        nlohmann::ordered_json object = {{"event", "warning"}};
        if (frame) object["frame"] = *frame;
        object["text"] = text;
        return PrintJson(object);
    }
    const std::string where = frame ? fmt::format("frame {}: ", *frame) : "";
    if (mMode == LogMode::OpenJd) Put(stdout, fmt::format("openjd_status: warning: {}{}\n", where, OneLine(text)));
    Print(fmt::format("warning: {}{}", where, text));
}

void RunLog::End() {
    const std::scoped_lock lock(mMutex);
    if (!mHasBegun) return;
    mHasBegun = false;
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - mStart).count();
    const std::size_t rendered = mDone - mSkipped, missing = mFrames - mDone;
    const double each = rendered == 0 ? 0 : mFrameSeconds / static_cast<double>(rendered);
    if (mMode == LogMode::Json) {
        PrintJson({{"event", "end"},
                   {"rendered", rendered},
                   {"skipped", mSkipped},
                   {"missing", missing},
                   {"warnings", mWarnings.size()},
                   {"seconds", seconds},
                   {"peak_rss_bytes", GetPeakMemory()}});
    } else if (mMode == LogMode::Lines) {
        Print(fmt::format("Done: {} rendered, {} skipped, {} missing, {} warnings; {:.2f} s, {:.2f} s a frame, {} MiB",
                          rendered, mSkipped, missing, mWarnings.size(), seconds, each, Mebibytes()));
    } else if (mMode == LogMode::OpenJd) {
        Put(stdout, fmt::format("openjd_status: {} frames rendered, {} missing\n", rendered, missing));
    }
    Clear();
}

void RunLog::Fail(const std::string& text, int code) {
    const std::scoped_lock lock(mMutex);
    if (mMode == LogMode::Json) return PrintJson({{"event", "error"}, {"code", code}, {"text", text}});
    if (mMode == LogMode::OpenJd) Put(stdout, fmt::format("openjd_fail: {}\n", OneLine(text)));
    Print(text);
}

std::vector<Warning> RunLog::GetWarnings() const {
    const std::scoped_lock lock(mMutex);
    return mWarnings;
}

// One line, drawn over itself.
void RunLog::Draw() {
    if (mMode != LogMode::Bar || !mHasBegun || !IsTerminal()) return;
    constexpr std::size_t width = 30;
    const std::size_t filled = mFrames == 0 ? width : std::min(width, width * mDone / mFrames);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - mStart).count();
    const std::size_t rendered = mDone - mSkipped;
    const std::string rate =
        rendered > 0 && seconds > 0 ? fmt::format("  {:.2f} frames/s", static_cast<double>(rendered) / seconds) : "";
    Put(stderr, fmt::format("\r[{:<{}}] {}/{} frames{}{}\x1b[K", std::string(filled, '='), width, mDone, mFrames, rate,
                            mWithin));
}

void RunLog::Clear() {
    if (mMode == LogMode::Bar && IsTerminal()) Put(stderr, "\r\x1b[K");
}

void RunLog::Print(std::string_view line) {
    Clear();
    Put(stderr, MakePrintable(line) + '\n');
}

void RunLog::PrintJson(const nlohmann::ordered_json& object) {
    Put(stderr, object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n');
}

}  // namespace nimbrel::host
