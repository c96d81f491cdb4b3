#pragma once

#include "NimbrelHost/Commands/Host.h"

namespace nimbrel::host {

void AddEffectSuites(SuiteRegistry& suites);
void AddPFInterfaceSuite(SuiteRegistry& suites);
void AddLayerSuite(SuiteRegistry& suites);
void AddStreamSuites(SuiteRegistry& suites);
void AddDynamicStreamSuite(SuiteRegistry& suites);
void AddUtilitySuites(SuiteRegistry& suites);
void AddItemSuites(SuiteRegistry& suites);
void AddProjectSuites(SuiteRegistry& suites);
void AddMemorySuite(SuiteRegistry& suites);
void AddComputeCacheSuite(SuiteRegistry& suites);
void AddHashSuite(SuiteRegistry& suites);
void AddAppSuite(SuiteRegistry& suites);
void AddCustomUISuite(SuiteRegistry& suites);
void AddDrawbotSuites(SuiteRegistry& suites);
void AddImportSuites(SuiteRegistry& suites);
void AddDeviceSuite(SuiteRegistry& suites);

}  // namespace nimbrel::host
