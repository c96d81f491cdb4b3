#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <glm/mat3x3.hpp>
#include <glm/vec2.hpp>
#include <glm/vec4.hpp>
#include <memory>
#include <string>
#include <variant>
#include <vector>

// What an effect drew, as a list of calls. Coordinates are those of the window, in points: x right, y down. Colours are
// straight red, green, blue, alpha from 0 to 1. Whoever paints the list decides how many pixels a point has.

namespace nimbrel::host {

struct DrawingRect {
    float mLeft = 0, mTop = 0, mWidth = 0, mHeight = 0;

    bool operator==(const DrawingRect&) const = default;
};

struct DrawingPath {
    enum class Verb { Move, Line, Bezier, Rect, Arc, Close };
    struct Step {
        Verb mVerb = Verb::Close;
        /// Move and line: the point; Bezier: two handles, the end; rect: corner, size; arc: centre, (radius, 0),
        /// (start, sweep) in degrees, clockwise from the right.
        std::array<glm::vec2, 3> mPoints{};
    };
    std::vector<Step> mSteps;
};

/// An image's pixels: premultiplied 0xAARRGGBB, rows without gaps.
struct DrawingImage {
    int mWidth = 0;
    int mHeight = 0;
    float mScale = 1;  ///< pixels of the image to a point
    std::vector<std::uint32_t> mPixels;
};

struct FillCall {
    DrawingPath mPath;
    glm::vec4 mColor{0};
    bool mWinding = false;  ///< else even-odd
};
struct StrokeCall {
    DrawingPath mPath;
    glm::vec4 mColor{0};
    float mWidth = 1;
    std::vector<float> mDashes;  ///< lengths on and off; empty for a whole line
};
struct ImageCall {
    std::shared_ptr<const DrawingImage> mImage;
    glm::vec2 mPosition{0};  ///< of its top left corner
    float mAlpha = 1;
};
struct TextCall {
    std::string mText;       ///< UTF-8
    glm::vec2 mPosition{0};  ///< on the base line; where the text begins, has its middle, or ends
    glm::vec4 mColor{0};
    float mSize = 0;
    int mAlignment = 0;   ///< DRAWBOT_TextAlignment
    int mTruncation = 0;  ///< DRAWBOT_TextTruncation
    float mWidth = 0;     ///< where it is truncated; 0 or less for nowhere
};
/// Narrows what can be drawn on.
struct ClipCall {
    DrawingRect mRect;
};
/// Applies to what follows, before what held so far.
struct TransformCall {
    glm::mat3 mMatrix{1};  ///< for column vectors
};
/// Keeps clip, transform and quality, and goes back to them.
struct PushCall {};
struct PopCall {};
struct QualityCall {
    int mAntiAlias = 0;      ///< DRAWBOT_AntiAliasPolicy
    int mInterpolation = 0;  ///< DRAWBOT_InterpolationPolicy
};

using DrawingCall =
    std::variant<FillCall, StrokeCall, ImageCall, TextCall, ClipCall, TransformCall, PushCall, PopCall, QualityCall>;

struct Drawing {
    DrawingRect mFrame;  ///< the control's place in its window; nothing outside it shows
    std::vector<DrawingCall> mCalls;

    /// The calls of one kind, in order.
    template <class Call>
    std::vector<const Call*> Get() const {
        std::vector<const Call*> found;
        for (const DrawingCall& call : mCalls) {
            if (const Call* const one = std::get_if<Call>(&call)) found.push_back(one);
        }
        return found;
    }
};

}  // namespace nimbrel::host
