#pragma once

#include <gtest/gtest.h>

#include <string>

#include "NimbrelHost/Commands/CustomData.h"
#include "NimbrelHost/User/PointerSession.h"
#include "Studio.h"

namespace nimbrel::endtoend {

inline constexpr const char* kRamp = "Model1_effects_splatOpacity_ramp";
inline constexpr const char* kGradient = "Model1_effects_splatColor_gradient";

/// A user before one of the effect's controls, who sees it at some pixel scale.
class ControlSession {
public:
    ControlSession(const std::string& id, const host::PointerSession::View& view)
        : mStudio(Document(), "control", OnCpu()), mControl(mStudio.Get(id)), mScale(view.mPixelScale) {
        mWindow.emplace(*mStudio.mHost);
        mPointer.emplace(*mWindow, mControl, view);
    }
    ~ControlSession() {
        EXPECT_EQ(mStudio.mHost->GetCustomUI().GetObjects().Count(), 0U);
        if (mWindow->IsOpen()) mWindow->Close();
    }
    ControlSession(const ControlSession&) = delete;
    ControlSession& operator=(const ControlSession&) = delete;

    void Set(const host::Json& value) { mStudio.Set(mControl.mId, value); }
    host::Json Get() {
        return host::Json::parse(host::PrintCustom(*mStudio.mHost, mControl, mControl.mValue.mKeys[0].mValue.mCustom));
    }
    host::Drawing Draw() { return mPointer->Draw(); }

    // Positions in points of the control; the pointer's own are in pixels of the view.
    host::EventReport Hover(int x, int y) { return mPointer->Hover(x * mScale, y * mScale); }
    /// The window's other control.
    host::EventReport HoverOverOther() {
        const bool isRamp = mControl.mId == kRamp;
        return host::PointerSession(*mWindow, mStudio.Get(isRamp ? kGradient : kRamp)).Hover(30, 20);
    }
    host::EventReport Press(int x, int y, int modifiers = 0, int clicks = 1) {
        return mPointer->Press(x * mScale, y * mScale, modifiers, clicks);
    }
    host::EventReport DragTo(int x, int y) { return mPointer->DragTo(x * mScale, y * mScale); }
    host::EventReport Release() { return mPointer->Release(); }
    host::EventReport Click(int x, int y, int modifiers = 0) {
        return mPointer->Click(x * mScale, y * mScale, modifiers);
    }
    host::EventReport DoubleClick(int x, int y) { return mPointer->DoubleClick(x * mScale, y * mScale); }

    void CloseWindow() { mWindow->Close(); }

    Studio mStudio;
    host::Parameter& mControl;

private:
    static Studio::Options OnCpu() {
        Studio::Options options;
        options.mDevice = "cpu";
        return options;
    }
    static host::Json Document() { return {{"composition", {{"width", 64}, {"height", 36}}}}; }

    int mScale;
    std::optional<host::EffectWindow> mWindow;
    std::optional<host::PointerSession> mPointer;
};

/// What the effect reported, a letter each: handled, value changed, captures, redraws.
inline std::string Report(const host::EventReport& report) {
    return std::string(report.mHandled ? "h" : "") + (report.mChanged.empty() ? "" : "c") +
           (report.mCaptures ? "C" : "") + (report.mRedraws ? "r" : "");
}

}  // namespace nimbrel::endtoend
