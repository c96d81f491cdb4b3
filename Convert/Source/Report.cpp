#include "NimbrelConvert/Report.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "ByteSource.h"

namespace nimbrel::convert {
namespace {

constexpr double kHugeShare = 0.1;

/// Collects what needs all splats before it can be told.
class Inspection {
public:
    explicit Inspection(Report& report) : mReport(report), mLayout{report.mFacts.mDegree} {}

    void Take(const float* row) {
        const bool isFinite = std::all_of(row, row + mLayout.Size(), [](float v) { return std::isfinite(v); });
        mReport.mNotFinite += isFinite ? 0 : 1;
        const float* const q = row + mLayout.Rotation();
        mReport.mZeroQuaternions += q[0] == 0 && q[1] == 0 && q[2] == 0 && q[3] == 0 ? 1 : 0;
        if (!isFinite) return;
        double scales[3];
        for (std::size_t a = 0; a < 3; ++a) {
            mReport.mBounds[a].Take(row[a]);
            mPositions[a].push_back(row[a]);
            scales[a] = std::exp(static_cast<double>(row[mLayout.Scale() + a]));
            mReport.mScale.Take(scales[a]);
        }
        mReport.mOpacity.Take(1 / (1 + std::exp(-static_cast<double>(row[mLayout.Opacity()]))));
        // The two longer axes, seen from where they show best.
        std::sort(scales, scales + 3);
        mAreas.push_back(static_cast<float>(std::numbers::pi * 4 * scales[1] * scales[2]));
    }

    void Finish() {
        if (mAreas.empty()) return;
        double side = 0;
        for (std::size_t a = 0; a < 3; ++a) {
            mReport.mCore[a] = {Percentile(mPositions[a], 0.01), Percentile(mPositions[a], 0.99)};
            if (a < 2) side = std::max(side, mReport.mCore[a].mHigh - mReport.mCore[a].mLow);
        }
        if (!(side > 0)) return;
        for (const float area : mAreas) {
            const double share = std::min(1.0, area / (side * side));
            mReport.mLargestShare = std::max(mReport.mLargestShare, share);
            mReport.mHugeSplats += share > kHugeShare ? 1 : 0;
        }
    }

private:
    static double Percentile(std::vector<float>& values, double share) {
        const auto place = values.begin() + std::llround(share * static_cast<double>(values.size() - 1));
        std::nth_element(values.begin(), place, values.end());
        return *place;
    }

    Report& mReport;
    RowLayout mLayout;
    std::array<std::vector<float>, 3> mPositions;
    std::vector<float> mAreas;
};

struct ModeName {
    RenderMode mMode;
    std::string_view mName;
};
constexpr ModeName kModes[] = {{RenderMode::Unknown, "not stated"},
                               {RenderMode::Plain, "plain"},
                               {RenderMode::Antialiased, "antialiased"},
                               {RenderMode::Flat, "flat (2D) splats"}};

std::string_view GetModeName(RenderMode mode) { return kModes[static_cast<std::size_t>(mode)].mName; }

nlohmann::json ToJson(const std::array<Range, 3>& box) {
    if (box[0].IsEmpty()) return nullptr;
    return {{"min", {box[0].mLow, box[1].mLow, box[2].mLow}}, {"max", {box[0].mHigh, box[1].mHigh, box[2].mHigh}}};
}

nlohmann::json ToJson(const Range& range) {
    if (range.IsEmpty()) return nullptr;
    return {{"min", range.mLow}, {"max", range.mHigh}};
}

std::string ToText(const std::array<Range, 3>& box) {
    if (box[0].IsEmpty()) return "none";
    return fmt::format("x {:.4g} to {:.4g}, y {:.4g} to {:.4g}, z {:.4g} to {:.4g}", box[0].mLow, box[0].mHigh,
                       box[1].mLow, box[1].mHigh, box[2].mLow, box[2].mHigh);
}

std::string ToText(const Range& range) {
    return range.IsEmpty() ? "none" : fmt::format("{:.4g} to {:.4g}", range.mLow, range.mHigh);
}

}  // namespace

Report InspectModel(const std::filesystem::path& file, const ReadOptions& options) {
    const std::unique_ptr<SplatReader> reader = OpenModel(file, options);
    Report report;
    report.mFacts = reader->GetFacts();
    for (const std::filesystem::path& part : ListModelFiles(file)) report.mFileSize += OpenFile(part)->GetSize();
    report.mIsPlain = IsPlainPly(file);
    Inspection inspection(report);
    constexpr std::size_t kBlock = 8192;
    const std::size_t rowSize = reader->GetLayout().Size();
    std::vector<float> rows(kBlock * rowSize);
    while (reader->CountLeft() > 0) {
        const std::size_t count = reader->Read(rows);
        for (std::size_t i = 0; i < count; ++i) inspection.Take(rows.data() + i * rowSize);
    }
    inspection.Finish();
    return report;
}

std::string WriteText(const Report& report) {
    std::string text;
    const auto line = [&](std::string_view name, const std::string& value) {
        text += fmt::format("{:<18}{}\n", name, value);
    };
    line("Format", report.mFacts.mFormat);
    line("Size", fmt::format("{} bytes", report.mFileSize));
    line("Splats", fmt::format("{}", report.mFacts.mCount));
    line("Harmonics", fmt::format("degree {}", report.mFacts.mDegree));
    line("Drawn", std::string(GetModeName(report.mFacts.mRenderMode)));
    line("Bounds", ToText(report.mBounds));
    line("1 % to 99 %", ToText(report.mCore));
    line("Scales", ToText(report.mScale));
    line("Opacities", ToText(report.mOpacity));
    line("Not finite", fmt::format("{} splats", report.mNotFinite));
    line("Zero quaternions", fmt::format("{} splats", report.mZeroQuaternions));
    line("Largest splat",
         fmt::format("covers {:.1f} % of a picture that the model fills; {} splats cover over {:.0f} %",
                     report.mLargestShare * 100, report.mHugeSplats, kHugeShare * 100));
    line("The effect", report.mIsPlain ? "reads it as it is" : "needs it converted");
    for (const std::string& note : report.mFacts.mNotes) line("Note", note);
    return text;
}

std::string WriteJson(const Report& report) {
    const nlohmann::ordered_json json = {{"format", report.mFacts.mFormat},
                                         {"bytes", report.mFileSize},
                                         {"splats", report.mFacts.mCount},
                                         {"degree", report.mFacts.mDegree},
                                         {"renderMode", GetModeName(report.mFacts.mRenderMode)},
                                         {"bounds", ToJson(report.mBounds)},
                                         {"core", ToJson(report.mCore)},
                                         {"scale", ToJson(report.mScale)},
                                         {"opacity", ToJson(report.mOpacity)},
                                         {"notFinite", report.mNotFinite},
                                         {"zeroQuaternions", report.mZeroQuaternions},
                                         {"largestShare", report.mLargestShare},
                                         {"hugeSplats", report.mHugeSplats},
                                         {"plain", report.mIsPlain},
                                         {"notes", report.mFacts.mNotes}};
    return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace nimbrel::convert
