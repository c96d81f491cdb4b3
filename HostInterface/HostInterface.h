#pragma once

// The one door to the host's plug-in interface. Everything that knows a host type includes this file and no
// other; the names are the host's, so that the tree builds against the vendor's own headers as well.
#ifdef NIMBREL_HOST_SDK
#include <AEConfig.h>
#include <AE_ComputeCacheSuite.h>
#include <AE_Effect.h>
#include <AE_EffectCB.h>
#include <AE_EffectCBSuites.h>
#include <AE_EffectSuites.h>
#include <AE_EffectUI.h>
#include <AE_GeneralPlug.h>
#include <AE_HashSuite.h>
#include <AE_IO.h>
#include <SPBasic.h>
#include <adobesdk/DrawbotSuite.h>
#else
#include "HostInterface/AEGP.h"
#include "HostInterface/ArbitraryData.h"
#include "HostInterface/BasicSuite.h"
#include "HostInterface/Commands.h"
#include "HostInterface/Drawbot.h"
#include "HostInterface/Effect.h"
#include "HostInterface/Events.h"
#include "HostInterface/Importer.h"
#include "HostInterface/Parameters.h"
#include "HostInterface/Registration.h"
#include "HostInterface/SmartRender.h"
#include "HostInterface/Suites/CameraSuite.h"
#include "HostInterface/Suites/CompSuite.h"
#include "HostInterface/Suites/ComputeCacheSuite.h"
#include "HostInterface/Suites/DrawbotSuites.h"
#include "HostInterface/Suites/DynamicStreamSuite.h"
#include "HostInterface/Suites/EffectSuite.h"
#include "HostInterface/Suites/EffectSuites.h"
#include "HostInterface/Suites/FootageSuite.h"
#include "HostInterface/Suites/HashSuite.h"
#include "HostInterface/Suites/IOInSuite.h"
#include "HostInterface/Suites/ItemSuite.h"
#include "HostInterface/Suites/LayerSuite.h"
#include "HostInterface/Suites/MemorySuite.h"
#include "HostInterface/Suites/PFInterfaceSuite.h"
#include "HostInterface/Suites/ProjSuite.h"
#include "HostInterface/Suites/RegisterSuite.h"
#include "HostInterface/Suites/StreamSuite.h"
#include "HostInterface/Suites/UtilitySuite.h"
#include "HostInterface/Types.h"
#include "HostInterface/Worlds.h"
#endif
