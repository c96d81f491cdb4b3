// Writes the resource by which a host on Windows finds the effect in the file without calling it.
// Usage: nimbrel-make-resource OUTPUT
//
// The host refuses the effect if version or flags differ from what global setup answers, so both come from the same
// constants.
#include <string>

#include "HostInterface/PluginResource.h"
#include "OutFlags.h"
#include "PluginBase/AE/PluginIdentity.h"

namespace {

using namespace nimbrel;

std::string BuildEffectResource() {
    Resource resource;
    resource.Add("kind", Number(zeb::kPluginKind));
    resource.Add("name", Counted(zeb::kPluginName));
    resource.Add("catg", Counted(zeb::kPluginCategory));
    resource.Add("8664", std::string(zeb::kEntryPointName) + '\0');
    resource.Add("ePVR", Pair(2, 0));  // version of this layout
    resource.Add("eSVR", Pair(zeb::kInterfaceVersion, zeb::kInterfaceSubversion));
    resource.Add("eVER", Number(zeb::MakeVersionWord(kIsBeta)));
    resource.Add("eINF", Number(0));
    resource.Add("eGLO", Number(static_cast<std::uint32_t>(kOutFlags)));
    resource.Add("eGL2", Number(static_cast<std::uint32_t>(kOutFlags2)));
    resource.Add("eMNA", Counted(zeb::kPluginMatchName));
    resource.Add("aeFL", Number(zeb::kReservedInfo));
    return resource.Build();
}

}  // namespace

int main(int argc, char** argv) { return nimbrel::WriteResource(argc, argv, BuildEffectResource()); }
