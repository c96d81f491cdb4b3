#include "NimbrelHost/Suites/AddSuites.h"

#include "Suites/Suites.h"

namespace nimbrel::host {

void AddSuites(SuiteRegistry& suites, const HostOptions& options) {
    AddEffectSuites(suites);
    AddPFInterfaceSuite(suites);
    AddLayerSuite(suites);
    AddStreamSuites(suites);
    AddDynamicStreamSuite(suites);
    AddUtilitySuites(suites);
    AddItemSuites(suites);
    AddProjectSuites(suites);
    AddMemorySuite(suites);
    if (options.mServeComputeCache) AddComputeCacheSuite(suites);
    if (options.mServeHash) AddHashSuite(suites);
    AddAppSuite(suites);
    AddCustomUISuite(suites);
    AddDrawbotSuites(suites);
    AddDeviceSuite(suites);
    AddImportSuites(suites);
}

}  // namespace nimbrel::host
