#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include <nlohmann/json.hpp>

#include "FakeHost.h"
#include "PluginBase/AE/AllocatorAE.h"
#include "PluginBase/AE/ArbHandlerAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/Custom/Gradient.h"
#include "PluginBase/Parameters/Custom/Ramp.h"

namespace {

/// Sends the callbacks that a host sends, and counts what they leave behind.
class ArbHandler : public testing::TestWithParam<const char*> {
protected:
    ArbHandler() : mScope(&mHost.mInData, &mHost.mOutData, nullptr) {}
    void TearDown() override {
        EXPECT_EQ(mHost.mHandles, 0);
        EXPECT_EQ(mHost.mLocks, 0);
    }

    PF_ArbParamsExtra Make(PF_FunctionSelector selector, const char* type) const {
        PF_ArbParamsExtra extra{};
        extra.which_function = selector;
        extra.u.new_func_params.refconPV = &zeb::GetArbHandler(type);
        return extra;
    }
    PF_Handle New(const char* type) {
        PF_Handle handle = nullptr;
        auto extra = Make(PF_Arbitrary_NEW_FUNC, type);
        extra.u.new_func_params.arbPH = &handle;
        zeb::HandleArbitraryCallback(extra);
        return handle;
    }
    void Dispose(PF_Handle handle, const char* type) {
        auto extra = Make(PF_Arbitrary_DISPOSE_FUNC, type);
        extra.u.dispose_func_params.arbH = handle;
        zeb::HandleArbitraryCallback(extra);
    }
    PF_Handle Scan(const char* text, const char* type) {
        PF_Handle handle = nullptr;
        auto extra = Make(PF_Arbitrary_SCAN_FUNC, type);
        extra.u.scan_func_params.bufPC = text;
        extra.u.scan_func_params.bytes_to_scanLu = static_cast<A_u_long>(std::strlen(text) + 1);
        extra.u.scan_func_params.arbPH = &handle;
        zeb::HandleArbitraryCallback(extra);
        return handle;
    }
    std::string Print(PF_Handle handle, const char* type, std::size_t room = 1000) {
        A_u_long size = 0;
        auto extra = Make(PF_Arbitrary_PRINT_SIZE_FUNC, type);
        extra.u.print_size_func_params.arbH = handle;
        extra.u.print_size_func_params.print_sizePLu = &size;
        zeb::HandleArbitraryCallback(extra);
        std::string buffer(std::min<std::size_t>(size, room) + 1, '#');
        extra = Make(PF_Arbitrary_PRINT_FUNC, type);
        extra.u.print_func_params.arbH = handle;
        extra.u.print_func_params.print_sizeLu = static_cast<A_u_long>(buffer.size() - 1);
        extra.u.print_func_params.print_bufferPC = buffer.data();
        zeb::HandleArbitraryCallback(extra);
        EXPECT_EQ(buffer[buffer.size() - 2], '\0');
        EXPECT_EQ(buffer.back(), '#');
        return buffer.c_str();
    }
    std::string Flatten(PF_Handle handle, const char* type) {
        A_u_long size = 0;
        auto extra = Make(PF_Arbitrary_FLAT_SIZE_FUNC, type);
        extra.u.flat_size_func_params.arbH = handle;
        extra.u.flat_size_func_params.flat_data_sizePLu = &size;
        zeb::HandleArbitraryCallback(extra);
        std::string buffer(size, '#');
        extra = Make(PF_Arbitrary_FLATTEN_FUNC, type);
        extra.u.flatten_func_params.arbH = handle;
        extra.u.flatten_func_params.buf_sizeLu = size;
        extra.u.flatten_func_params.flat_dataPV = buffer.data();
        zeb::HandleArbitraryCallback(extra);
        return buffer;
    }
    PF_Handle Unflatten(const std::string& flat, const char* type) {
        PF_Handle handle = nullptr;
        auto extra = Make(PF_Arbitrary_UNFLATTEN_FUNC, type);
        extra.u.unflatten_func_params.buf_sizeLu = static_cast<A_u_long>(flat.size());
        extra.u.unflatten_func_params.flat_dataPV = flat.data();
        extra.u.unflatten_func_params.arbPH = &handle;
        zeb::HandleArbitraryCallback(extra);
        return handle;
    }
    PF_ArbCompareResult Compare(PF_Handle a, PF_Handle b, const char* type) {
        PF_ArbCompareResult result = -1;
        auto extra = Make(PF_Arbitrary_COMPARE_FUNC, type);
        extra.u.compare_func_params.a_arbH = a;
        extra.u.compare_func_params.b_arbH = b;
        extra.u.compare_func_params.compareP = &result;
        zeb::HandleArbitraryCallback(extra);
        return result;
    }

    test::FakeHost mHost;
    zeb::ThreadContextScope mScope;
};

TEST_P(ArbHandler, LivesThroughAllForms) {
    const char* type = GetParam();
    PF_Handle original = New(type);
    PF_Handle copy = nullptr;
    auto extra = Make(PF_Arbitrary_COPY_FUNC, type);
    extra.u.copy_func_params.src_arbH = original;
    extra.u.copy_func_params.dst_arbPH = &copy;
    zeb::HandleArbitraryCallback(extra);
    EXPECT_NE(copy, original);
    PF_Handle unflattened = Unflatten(Flatten(original, type), type);
    PF_Handle scanned = Scan(Print(original, type).c_str(), type);
    Dispose(original, type);  // the others must stand on their own
    EXPECT_EQ(Compare(copy, unflattened, type), PF_ArbCompare_EQUAL);
    EXPECT_EQ(Compare(copy, scanned, type), PF_ArbCompare_EQUAL);
    for (PF_Handle handle : {copy, unflattened, scanned}) Dispose(handle, type);

    extra.u.copy_func_params.src_arbH = nullptr;
    zeb::HandleArbitraryCallback(extra);
    PF_Handle fresh = New(type);
    EXPECT_EQ(Compare(copy, fresh, type), PF_ArbCompare_EQUAL);
    Dispose(copy, type);
    Dispose(fresh, type);
    Dispose(nullptr, type);
}

INSTANTIATE_TEST_SUITE_P(Types, ArbHandler, testing::Values("Ramp", "Gradient"));

using ArbHandlerForms = ArbHandler;

TEST_F(ArbHandlerForms, ARampIsFlatAsTwentyEightBytes) {
    PF_Handle ramp = New("Ramp");
    const std::string flat = Flatten(ramp, "Ramp");
    const std::int32_t head[] = {0, 0, 2};
    const float keys[] = {0.0F, 1.0F, 1.0F, 1.0F};
    ASSERT_EQ(flat.size(), 28U);
    EXPECT_EQ(std::memcmp(flat.data(), head, 12), 0);
    EXPECT_EQ(std::memcmp(flat.data() + 12, keys, 16), 0);
    Dispose(ramp, "Ramp");
}

TEST_F(ArbHandlerForms, AGradientIsFlatAsItsTextAlone) {
    PF_Handle gradient = New("Gradient");
    const std::string flat = Flatten(gradient, "Gradient");
    EXPECT_EQ(flat.find('\0'), std::string::npos);
    EXPECT_EQ(nlohmann::json::parse(flat)["keys"].size(), 2U);
    EXPECT_EQ(Print(gradient, "Gradient"), flat);
    EXPECT_EQ(Print(gradient, "Gradient", 5), flat.substr(0, 4));
    Dispose(gradient, "Gradient");
}

TEST_F(ArbHandlerForms, InterpolatesBetweenTwoHandles) {
    PF_Handle left = Scan(R"({"type": 1, "interpolation": 1, "keys": [[0.0, 0.0]]})", "Ramp");
    PF_Handle right = Scan(R"({"type": 0, "interpolation": 0, "keys": [[1.0, 1.0]]})", "Ramp");
    PF_Handle between = nullptr;
    auto extra = Make(PF_Arbitrary_INTERP_FUNC, "Ramp");
    extra.u.interp_func_params.left_arbH = left;
    extra.u.interp_func_params.right_arbH = right;
    extra.u.interp_func_params.tF = 0.25;
    extra.u.interp_func_params.interpPH = &between;
    zeb::HandleArbitraryCallback(extra);
    EXPECT_EQ(nlohmann::json::parse(Print(between, "Ramp")),
              nlohmann::json::parse(R"({"type": 1, "interpolation": 1, "keys": [[0.25, 0.25]]})"));
    EXPECT_EQ(Compare(left, right, "Ramp"), PF_ArbCompare_NOT_EQUAL);
    for (PF_Handle handle : {left, right, between}) Dispose(handle, "Ramp");
}

TEST_F(ArbHandlerForms, BadDataLeavesNoHandle) {
    EXPECT_THROW(Unflatten(std::string("\0\0\0\0\0\0\0\0\2\0\0\0", 12), "Ramp"), zeb::Exception);
    EXPECT_THROW(Unflatten("", "Gradient"), nlohmann::json::exception);
    EXPECT_THROW(Scan("[1,", "Ramp"), nlohmann::json::exception);
    PF_Handle ramp = New("Ramp");
    char small[27];
    auto extra = Make(PF_Arbitrary_FLATTEN_FUNC, "Ramp");
    extra.u.flatten_func_params.arbH = ramp;
    extra.u.flatten_func_params.buf_sizeLu = sizeof(small);
    extra.u.flatten_func_params.flat_dataPV = small;
    EXPECT_THROW(zeb::HandleArbitraryCallback(extra), zeb::Exception);
    Dispose(ramp, "Ramp");
    extra = Make(11, "Ramp");
    EXPECT_THROW(zeb::HandleArbitraryCallback(extra), zeb::Exception);
    extra = Make(PF_Arbitrary_NEW_FUNC, "Ramp");
    extra.u.new_func_params.refconPV = nullptr;
    EXPECT_THROW(zeb::HandleArbitraryCallback(extra), zeb::Exception);
    EXPECT_THROW(zeb::GetArbHandler("Curve"), zeb::Exception);
    mHost.mOutOfHandles = true;
    EXPECT_THROW(New("Gradient"), zeb::Exception);
}

}  // namespace
