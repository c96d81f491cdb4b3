#pragma once

#include <array>
#include <cstddef>

#include "HostInterface/HostInterface.h"

namespace zeb {

/// ReportCleanupFailure for a suite that the host did not take back.
void ReportReleaseFailure(const char* name) noexcept;

// Accessor, table, name and version of every suite that is used through the table below.
#define ZEB_AE_SUITES(X)                                                                                       \
    X(LayerSuite8, AEGP_LayerSuite8, kAEGPLayerSuite, kAEGPLayerSuiteVersion8)                                 \
    X(StreamSuite5, AEGP_StreamSuite5, kAEGPStreamSuite, kAEGPStreamSuiteVersion5)                             \
    X(StreamSuite2, AEGP_StreamSuite2, kAEGPStreamSuite, kAEGPStreamSuiteVersion2)                             \
    X(DynamicStreamSuite4, AEGP_DynamicStreamSuite4, kAEGPDynamicStreamSuite, kAEGPDynamicStreamSuiteVersion4) \
    X(UtilitySuite6, AEGP_UtilitySuite6, kAEGPUtilitySuite, kAEGPUtilitySuiteVersion6)                         \
    X(UtilitySuite5, AEGP_UtilitySuite5, kAEGPUtilitySuite, kAEGPUtilitySuiteVersion5)                         \
    X(UtilitySuite3, AEGP_UtilitySuite3, kAEGPUtilitySuite, kAEGPUtilitySuiteVersion3)                         \
    X(ItemSuite9, AEGP_ItemSuite9, kAEGPItemSuite, kAEGPItemSuiteVersion9)                                     \
    X(ItemSuite6, AEGP_ItemSuite6, kAEGPItemSuite, kAEGPItemSuiteVersion6)                                     \
    X(CompSuite11, AEGP_CompSuite11, kAEGPCompSuite, kAEGPCompSuiteVersion11)                                  \
    X(FootageSuite5, AEGP_FootageSuite5, kAEGPFootageSuite, kAEGPFootageSuiteVersion5)                         \
    X(CameraSuite2, AEGP_CameraSuite2, kAEGPCameraSuite, kAEGPCameraSuiteVersion2)                             \
    X(ProjSuite6, AEGP_ProjSuite6, kAEGPProjSuite, kAEGPProjSuiteVersion6)                                     \
    X(MemorySuite1, AEGP_MemorySuite1, kAEGPMemorySuite, kAEGPMemorySuiteVersion1)                             \
    X(PFInterfaceSuite1, AEGP_PFInterfaceSuite1, kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1)         \
    X(EffectSuite4, AEGP_EffectSuite4, kAEGPEffectSuite, kAEGPEffectSuiteVersion4)                             \
    X(HandleSuite1, PF_HandleSuite1, kPFHandleSuite, kPFHandleSuiteVersion1)                                   \
    X(AppSuite6, PFAppSuite6, kPFAppSuite, kPFAppSuiteVersion6)                                                \
    X(ParamUtilsSuite3, PF_ParamUtilsSuite3, kPFParamUtilsSuite, kPFParamUtilsSuiteVersion3)                   \
    X(EffectCustomUISuite2, PF_EffectCustomUISuite2, kPFEffectCustomUISuite, kPFEffectCustomUISuiteVersion2)

/// The host's suites during one command. Each is acquired at its first use and released with the table.
/// Thread: the command's. Throws zeb::Exception for a suite that the host lacks.
class SuiteTableAE {
public:
    /// `basic` may be null; then every suite is lacking.
    explicit SuiteTableAE(SPBasicSuite* basic) : mBasic(basic) {}
    ~SuiteTableAE();
    SuiteTableAE(const SuiteTableAE&) = delete;
    SuiteTableAE& operator=(const SuiteTableAE&) = delete;

    SPBasicSuite* GetBasicSuite() const { return mBasic; }

#define ZEB_AE_ACCESSOR(accessor, type, name, version) \
    const type* accessor() { return static_cast<const type*>(Get(Index::accessor, name, version)); }
    ZEB_AE_SUITES(ZEB_AE_ACCESSOR)
#undef ZEB_AE_ACCESSOR

private:
    enum class Index : std::size_t {
#define ZEB_AE_INDEX(accessor, type, name, version) accessor,
        ZEB_AE_SUITES(ZEB_AE_INDEX)
#undef ZEB_AE_INDEX
            Count
    };
    const void* Get(Index index, const char* name, A_long version);

    SPBasicSuite* mBasic;
    std::array<const void*, static_cast<std::size_t>(Index::Count)> mSuites{};
};

}  // namespace zeb
