#include "DrawbotObjectsAE.h"

#include "../CheckAE.h"

namespace zeb::ui {

void PolygonAE::AddPoint(const Point& p) {
    if (mEmpty) {
        ZEB_CHECK_TEXT(mSuites.path_suiteP->MoveTo(GetPath(), p.mX, p.mY),
                       "Failed to call mSuites.path_suiteP->MoveTo(mPath, p.x, p.y)");
        mEmpty = false;
        return;
    }
    ZEB_CHECK_TEXT(mSuites.path_suiteP->LineTo(GetPath(), p.mX, p.mY),
                   "Failed to call mSuites.path_suiteP->LineTo(mPath, p.x, p.y)");
}

void PolygonAE::Close() {
    ZEB_CHECK_TEXT(mSuites.path_suiteP->Close(GetPath()), "Failed to call mSuites.path_suiteP->Close(mPath)");
}

}  // namespace zeb::ui
