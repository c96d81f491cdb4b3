#include <cmath>
#include <numbers>

#include "HostInterface/Drawbot.h"
#include "Panel/Canvas.h"

// What effects draw, played on Cairo.

namespace nimbrel::host::panel {
namespace {

void TracePath(cairo_t* cairo, const DrawingPath& path) {
    cairo_new_path(cairo);
    for (const DrawingPath::Step& step : path.mSteps) {
        const glm::dvec2 a(step.mPoints[0]), b(step.mPoints[1]), c(step.mPoints[2]);
        switch (step.mVerb) {
            case DrawingPath::Verb::Move: cairo_move_to(cairo, a.x, a.y); break;
            case DrawingPath::Verb::Line: cairo_line_to(cairo, a.x, a.y); break;
            case DrawingPath::Verb::Bezier: cairo_curve_to(cairo, a.x, a.y, b.x, b.y, c.x, c.y); break;
            case DrawingPath::Verb::Rect: cairo_rectangle(cairo, a.x, a.y, b.x, b.y); break;
            case DrawingPath::Verb::Arc: {
                constexpr double radians = std::numbers::pi / 180;
                const double start = c.x * radians, end = (c.x + c.y) * radians;
                const auto draw = c.y < 0 ? cairo_arc_negative : cairo_arc;
                cairo_new_sub_path(cairo);
                draw(cairo, a.x, a.y, b.x, start, end);
                break;
            }
            case DrawingPath::Verb::Close: cairo_close_path(cairo); break;
        }
    }
}

class Player {
public:
    Player(cairo_t* cairo, const DrawingRect& frame) : mCairo(cairo) {
        cairo_save(mCairo);
        Clip(frame);
    }
    // States that the effect left behind are undone with the rest.
    ~Player() {
        for (; mPushed >= 0; --mPushed) cairo_restore(mCairo);
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    void operator()(const FillCall& call) {
        TracePath(mCairo, call.mPath);
        Use(call.mColor);
        cairo_set_fill_rule(mCairo, call.mWinding ? CAIRO_FILL_RULE_WINDING : CAIRO_FILL_RULE_EVEN_ODD);
        cairo_fill(mCairo);
    }

    void operator()(const StrokeCall& call) {
        TracePath(mCairo, call.mPath);
        Use(call.mColor);
        const std::vector<double> dashes(call.mDashes.begin(), call.mDashes.end());
        cairo_set_dash(mCairo, dashes.data(), static_cast<int>(dashes.size()), 0);
        cairo_set_line_width(mCairo, static_cast<double>(call.mWidth));
        cairo_stroke(mCairo);
    }

    void operator()(const ImageCall& call) {
        const DrawingImage& image = *call.mImage;
        // The surface only reads, but Cairo has no way to say so.
        auto* const pixels = reinterpret_cast<unsigned char*>(const_cast<std::uint32_t*>(image.mPixels.data()));
        cairo_surface_t* const surface = cairo_image_surface_create_for_data(pixels, CAIRO_FORMAT_ARGB32, image.mWidth,
                                                                             image.mHeight, image.mWidth * 4);
        cairo_save(mCairo);
        cairo_translate(mCairo, static_cast<double>(call.mPosition.x), static_cast<double>(call.mPosition.y));
        cairo_scale(mCairo, 1 / static_cast<double>(image.mScale), 1 / static_cast<double>(image.mScale));
        cairo_set_source_surface(mCairo, surface, 0, 0);
        cairo_pattern_set_filter(cairo_get_source(mCairo), mFilter);
        // Without this the edge would fade into the nothing around it.
        cairo_pattern_set_extend(cairo_get_source(mCairo), CAIRO_EXTEND_PAD);
        cairo_rectangle(mCairo, 0, 0, image.mWidth, image.mHeight);
        cairo_clip(mCairo);
        cairo_paint_with_alpha(mCairo, static_cast<double>(call.mAlpha));
        cairo_restore(mCairo);
        cairo_surface_destroy(surface);
    }

    void operator()(const TextCall& call) {
        ChooseFont(mCairo, {static_cast<double>(call.mSize), false});
        const bool truncates = call.mTruncation != kDRAWBOT_TextTruncation_None;
        const std::string text = Shorten(mCairo, call.mText, truncates ? static_cast<double>(call.mWidth) : 0);
        cairo_text_extents_t extents;
        cairo_text_extents(mCairo, text.c_str(), &extents);
        const double share = call.mAlignment == kDRAWBOT_TextAlignment_Left     ? 0
                             : call.mAlignment == kDRAWBOT_TextAlignment_Center ? 0.5
                                                                                : 1;
        Use(call.mColor);
        cairo_move_to(mCairo, static_cast<double>(call.mPosition.x) - share * extents.x_advance,
                      static_cast<double>(call.mPosition.y));
        cairo_show_text(mCairo, text.c_str());
    }

    void operator()(const ClipCall& call) { Clip(call.mRect); }

    void operator()(const TransformCall& call) {
        const glm::dmat3 m(call.mMatrix);
        const cairo_matrix_t matrix{m[0][0], m[0][1], m[1][0], m[1][1], m[2][0], m[2][1]};
        cairo_transform(mCairo, &matrix);
    }

    // The filter is set anew for each image, so it is not part of Cairo's own state.
    void operator()(const PushCall&) {
        cairo_save(mCairo);
        mFilters.push_back(mFilter);
        ++mPushed;
    }

    void operator()(const PopCall&) {
        if (mPushed == 0) return;
        cairo_restore(mCairo);
        mFilter = mFilters.back();
        mFilters.pop_back();
        --mPushed;
    }

    void operator()(const QualityCall& call) {
        constexpr cairo_antialias_t antialias[] = {CAIRO_ANTIALIAS_NONE, CAIRO_ANTIALIAS_FAST, CAIRO_ANTIALIAS_GOOD};
        constexpr cairo_filter_t filters[] = {CAIRO_FILTER_NEAREST, CAIRO_FILTER_BILINEAR, CAIRO_FILTER_BEST};
        cairo_set_antialias(mCairo, antialias[call.mAntiAlias]);
        mFilter = filters[call.mInterpolation];
    }

private:
    void Use(const glm::vec4& color) {
        const glm::dvec4 c(color);
        cairo_set_source_rgba(mCairo, c.r, c.g, c.b, c.a);
    }

    void Clip(const DrawingRect& rect) {
        cairo_rectangle(mCairo, static_cast<double>(rect.mLeft), static_cast<double>(rect.mTop),
                        static_cast<double>(rect.mWidth), static_cast<double>(rect.mHeight));
        cairo_clip(mCairo);
    }

    cairo_t* mCairo;
    cairo_filter_t mFilter = CAIRO_FILTER_NEAREST;
    std::vector<cairo_filter_t> mFilters;
    int mPushed = 0;
};

}  // namespace

void PlayDrawing(cairo_t* cairo, const Drawing& drawing) {
    Player player(cairo, drawing.mFrame);
    for (const DrawingCall& call : drawing.mCalls) std::visit(player, call);
}

}  // namespace nimbrel::host::panel
