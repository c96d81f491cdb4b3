#include "AcquiredSuiteAE.h"

#include <fmt/format.h>

#include "PluginBase/Exception.h"

namespace zeb {

const void* AcquireSuite(SPBasicSuite* basic, const char* name, A_long version) {
    const void* suite = nullptr;
    const SPErr error = basic == nullptr ? kInternalError : basic->AcquireSuite(name, version, &suite);
    if (error == 0 && suite != nullptr) return suite;
    ZEB_THROW(error != 0 ? error : kInternalError, fmt::format("Failed to acquire suite {}", name));
}

}  // namespace zeb
