#include "PluginBase/ComputeCache/ComputeCacheBase.h"

#include <exception>

namespace zeb {

ComputeCacheResultBase::~ComputeCacheResultBase() {
    if (mCache == nullptr) return;
    try {
        mCache->Checkin(*this);
    } catch (const std::exception&) {
        // A value that the host refuses to take back stays the host's; there is nobody left to tell.
    }
}

}  // namespace zeb
