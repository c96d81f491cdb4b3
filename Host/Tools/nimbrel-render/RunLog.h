#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace nimbrel::host {

/// How a run tells of itself. Bar: a line on a terminal that is drawn anew. Lines: a line on standard error for each
/// frame, and one at the end. Json: the same as objects, one a line. OpenJd: messages of Open Job Description on
/// standard output. None: warnings and failures alone.
enum class LogMode { Bar, Lines, Json, OpenJd, None };

/// The mode where none is named: the bar on a terminal.
LogMode ChooseLogMode();

struct Warning {
    std::string mText;
    std::optional<int> mFrame;
};

/// What a frame became.
struct SavedFrame {
    int mFrame = 0;
    std::string mFile;
    double mSeconds = 0;
};

/// Tells users and render managers how a run goes. Any thread.
class RunLog {
public:
    explicit RunLog(LogMode mode) : mMode(mode) {}
    ~RunLog();
    RunLog(const RunLog&) = delete;
    RunLog& operator=(const RunLog&) = delete;

    /// From now on frames count: `frames` in all, of which `skipped` need not be rendered.
    void Begin(std::size_t frames, std::size_t skipped);
    void FrameSaved(const SavedFrame& frame);
    /// Progress that the effect reports within a frame, such as loading models.
    void Within(int current, int total);
    /// What the program did of its own, such as converting a model.
    void Note(const std::string& text);
    /// What the effect has to say.
    void Message(const std::string& text);
    /// What the effect answers to a question: on standard output, whatever the mode.
    void Answer(const std::string& text);
    void Warn(const std::string& text, std::optional<int> frame);
    /// The run has come to its end, with all frames or not.
    void End();
    /// Why the run fails; `text` as it is to be read, with or without the program's name.
    void Fail(const std::string& text, int code);

    std::vector<Warning> GetWarnings() const;

private:
    void Draw();
    void Clear();
    void Print(std::string_view line);
    void PrintJson(const nlohmann::ordered_json& object);

    const LogMode mMode;
    mutable std::mutex mMutex;
    bool mHasBegun = false;
    std::size_t mFrames = 0;
    std::size_t mSkipped = 0;
    std::size_t mDone = 0;
    double mFrameSeconds = 0;
    std::string mWithin;
    std::vector<Warning> mWarnings;
    std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};

}  // namespace nimbrel::host
