#pragma once

#include "HostInterface/HostInterface.h"
#include "PluginBase/UI/Graphics.h"

/// What the host's supplier made, given back when the owner goes. The suites must outlive it.
namespace zeb::ui {

template <class Ref>
class DrawbotReference {
public:
    DrawbotReference(const DRAWBOT_Suites& suites, Ref ref) : mSuites(&suites), mRef(ref) {}
    ~DrawbotReference() {
        if (mRef != nullptr) mSuites->supplier_suiteP->ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(mRef));
    }
    DrawbotReference(const DrawbotReference&) = delete;
    DrawbotReference& operator=(const DrawbotReference&) = delete;

    Ref Get() const { return mRef; }

private:
    const DRAWBOT_Suites* mSuites;
    Ref mRef;
};

struct BrushAE final : Brush {
    BrushAE(const DRAWBOT_Suites& suites, DRAWBOT_BrushRef brush) : mBrush(suites, brush) {}
    DrawbotReference<DRAWBOT_BrushRef> mBrush;
};

struct PenAE final : Pen {
    PenAE(const DRAWBOT_Suites& suites, DRAWBOT_PenRef pen) : mPen(suites, pen) {}
    DrawbotReference<DRAWBOT_PenRef> mPen;
};

class PolygonAE final : public Polygon {
public:
    PolygonAE(const DRAWBOT_Suites& suites, DRAWBOT_PathRef path) : mSuites(suites), mReference(suites, path) {}
    void AddPoint(const Point& p) override;
    void Close() override;
    DRAWBOT_PathRef GetPath() const { return mReference.Get(); }

private:
    const DRAWBOT_Suites& mSuites;
    DrawbotReference<DRAWBOT_PathRef> mReference;
    bool mEmpty = true;
};

}  // namespace zeb::ui
