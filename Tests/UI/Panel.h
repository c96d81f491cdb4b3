#pragma once

#include <sstream>
#include <string>

#include "../Parameters/TestSupport.h"
#include "PluginBase/Parameters/Custom/Gradient.h"
#include "PluginBase/Parameters/Custom/Ramp.h"
#include "PluginBase/UI/InteractBase.h"

/// Custom parameters and a pointer over their controls, without a host.
namespace test {

/// Catalogue indices.
namespace panel {
enum Index : std::int32_t { kShowRamp, kRamp, kGradient, kColor, kShowGradient, kSkippedShow, kSize };
}

inline std::string PanelCatalogue() {
    return Catalogue({Entry("Checkbox", 1, R"("default":{"value":true})"),
                      Entry("Custom", 2,
                            R"("valueType":"Ramp","showControlIndex":0,"default":{"type":0,"interpolation":1,)"
                            R"("keys":[[0.0,0.25],[0.5,0.75],[1.0,0.5]]})"),
                      Entry("Custom", 3,
                            R"("valueType":"Gradient","showControlIndex":4,"colorIndex":3,"default":{"keys":[)"
                            R"([0.0,{"color":[1.0,0.0,0.0],"type":0}],[0.5,{"color":[0.0,1.0,0.0],"type":1}],)"
                            R"([1.0,{"color":[0.0,0.0,1.0],"type":2}]]})"),
                      Entry("Color", 4), Entry("Checkbox", 5, R"("default":{"value":true})"),
                      Entry("Checkbox", 6, R"("skipAPI":["AE"])")});
}

/// What the pointer does, what the control answers, and the value in the end.
struct Session {
    const char* mWhat;
    const char* mScript;
    const char* mAnswers;
    const char* mValue;
};

/// One control of 112 x 112 units at (20, 30), so that its plotting rect is 100 x 100 units at (26, 36).
struct Panel {
    Panel() {
        mContext.mX = 20.0F;
        mContext.mY = 30.0F;
        mContext.mWidth = mContext.mHeight = 112.0F;
    }

    /// Puts the pointer at a place of the plotting rect, from 0 to 1 rightwards and upwards, and that many units away.
    void MoveTo(float x, float y, float dx = 0.0F, float dy = 0.0F) {
        mContext.mPointerX = (26.0F + 100.0F * x + dx) * mContext.mScaleX;
        mContext.mPointerY = (36.0F + 100.0F * (1.0F - y) + dy) * mContext.mScaleY;
    }

    /// Steps "click|double|command|drag|move|leave X Y [DX DY]", separated by semicolons, places as of MoveTo; without
    /// a place where the pointer is. The answers, one for each step: h handled, c changed, d a drag begins, - nothing.
    std::string Run(zeb::InteractBase& interact, const std::string& script) {
        std::string answers;
        std::istringstream steps(script);
        for (std::string text; std::getline(steps, text, ';');) {
            std::istringstream step(text);
            std::string word;
            float x = 0.0F, y = 0.0F, dx = 0.0F, dy = 0.0F;
            step >> word;
            if (step >> x >> y) {
                step >> dx >> dy;
                MoveTo(x, y, dx, dy);
            }
            const zeb::MouseDownResult result = Do(interact, word);
            if (!answers.empty()) answers += ' ';
            answers += !result.mHandled && !result.mChanged && !result.mCapture ? "-" : "";
            answers +=
                std::string(result.mHandled ? "h" : "") + (result.mChanged ? "c" : "") + (result.mCapture ? "d" : "");
        }
        return answers;
    }
    zeb::MouseDownResult Do(zeb::InteractBase& interact, const std::string& word) {
        zeb::EventContext context = mContext;
        if (word == "command") context.mModifiers |= zeb::kModifierCommand;
        if (word == "move") return {interact.OnPointerMove(mGetter, mSetter, context), false};
        if (word == "leave") return {interact.OnPointerLeft(mGetter, mSetter, context), false};
        if (word == "drag") return {interact.OnDrag(mGetter, mSetter, context), false};
        return interact.OnMouseDown(mGetter, mSetter, context, word == "double" ? 2 : 1);
    }

    zeb::Ramp GetRamp() const {
        zeb::Ramp ramp;
        ramp.FromJSON(mGetter.GetCustom(panel::kRamp));
        return ramp;
    }
    zeb::Gradient GetGradient() const {
        zeb::Gradient gradient;
        gradient.FromJSON(mGetter.GetCustom(panel::kGradient));
        return gradient;
    }
    void Set(const zeb::Ramp& ramp) { mValues.mCustoms[panel::kRamp] = ramp.ToJSON(); }
    void Set(const zeb::Gradient& gradient) { mValues.mCustoms[panel::kGradient] = gradient.ToJSON(); }

    TextManager mManager{PanelCatalogue()};
    Values mValues;
    ValuesGetter mGetter{mManager, mValues};
    ValuesSetter mSetter{mManager, mValues};
    zeb::EventContext mContext;
};

}  // namespace test
