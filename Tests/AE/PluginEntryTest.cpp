#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FakeHost.h"

extern "C" {
PF_Err EffectMain(PF_Cmd, PF_InData*, PF_OutData*, PF_ParamDef*[], PF_LayerDef*, void*);
A_Err PluginDataEntryFunction(void*, PF_PluginDataCB, SPBasicSuite*, const char*, const char*);
}

namespace {

std::vector<std::string> sTexts;
std::vector<A_long> sNumbers;
void* sToken = nullptr;

A_Err Take(void* token, const A_u_char* name, const A_u_char* matchName, const A_u_char* category,
           const A_u_char* entryPoint, A_long kind, A_long major, A_long minor, A_long reserved) {
    sToken = token;
    for (const A_u_char* text : {name, matchName, category, entryPoint})
        sTexts.emplace_back(reinterpret_cast<const char*>(text));
    sNumbers = {kind, major, minor, reserved};
    return 21;
}

TEST(PluginEntry, RegistersTheOneEffect) {
    int token = 0;
    EXPECT_EQ(PluginDataEntryFunction(&token, Take, nullptr, "host", "1"), 21);
    EXPECT_EQ(sToken, &token);
    EXPECT_EQ(sTexts, (std::vector<std::string>{"Nimbrel", "velmaris Nimbrel", "velmaris", "EffectMain"}));
    EXPECT_EQ(sNumbers, (std::vector<A_long>{0x65464b54, 13, 27, 8}));
}

}  // namespace
