#pragma once

#include "PluginBase/ComputeCache/ComputeCacheBase.h"

namespace zeb {

/// Keys by MD5 (RFC 1321), for hosts that offer no hashing of their own. A state belongs to one thread.
/// `Finish` may be called again: it gives the same digest, whose 16 bytes lie in the key in order.
class Hasher final : public HasherBase {
public:
    UniquePtr<State> CreateState() override;
};

}  // namespace zeb
