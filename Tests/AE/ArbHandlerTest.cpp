// Custom values through the callbacks that a host sends, and what a project or a clipboard may hold in their place.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>

#include <nlohmann/json.hpp>

#include "FakeHost.h"
#include "PluginBase/AE/ArbHandlerAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/Custom/Gradient.h"
#include "PluginBase/Parameters/Custom/Ramp.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

class ArbHandler : public testing::TestWithParam<const char*> {
protected:
    ArbHandler() : mScope(&mHost.mInData, &mHost.mOutData, nullptr) {}
    void TearDown() override { ExpectNothingHeld(); }

    void ExpectNothingHeld() const {
        EXPECT_EQ(mHost.mHandles, 0);
        EXPECT_EQ(mHost.mLocks, 0);
    }

    template <class Fill>
    void Send(PF_FunctionSelector selector, const Fill& fill) const {
        PF_ArbParamsExtra extra{};
        extra.which_function = selector;
        fill(extra.u);  // every record begins with its handler
        extra.u.new_func_params.refconPV = &zeb::GetArbHandler(mType);
        zeb::HandleArbitraryCallback(extra);
    }
    PF_Handle New() const {
        PF_Handle handle = nullptr;
        Send(PF_Arbitrary_NEW_FUNC, [&](auto& u) { u.new_func_params.arbPH = &handle; });
        return handle;
    }
    void Dispose(PF_Handle handle) const {
        Send(PF_Arbitrary_DISPOSE_FUNC, [&](auto& u) { u.dispose_func_params.arbH = handle; });
    }
    PF_Handle Copy(PF_Handle source) const {
        PF_Handle handle = nullptr;
        Send(PF_Arbitrary_COPY_FUNC, [&](auto& u) {
            u.copy_func_params.src_arbH = source;
            u.copy_func_params.dst_arbPH = &handle;
        });
        return handle;
    }
    PF_Handle Scan(const std::string& text) const {
        PF_Handle handle = nullptr;
        Send(PF_Arbitrary_SCAN_FUNC, [&](auto& u) {
            u.scan_func_params.bufPC = text.c_str();
            u.scan_func_params.bytes_to_scanLu = static_cast<A_u_long>(text.size() + 1);
            u.scan_func_params.arbPH = &handle;
        });
        return handle;
    }
    std::string Print(PF_Handle handle, std::size_t room = 1000) const {
        A_u_long size = 0;
        Send(PF_Arbitrary_PRINT_SIZE_FUNC, [&](auto& u) {
            u.print_size_func_params.arbH = handle;
            u.print_size_func_params.print_sizePLu = &size;
        });
        std::string buffer(std::min<std::size_t>(size, room) + 1, '#');
        Send(PF_Arbitrary_PRINT_FUNC, [&](auto& u) {
            u.print_func_params.arbH = handle;
            u.print_func_params.print_sizeLu = static_cast<A_u_long>(buffer.size() - 1);
            u.print_func_params.print_bufferPC = buffer.data();
        });
        EXPECT_EQ(buffer[buffer.size() - 2], '\0');
        EXPECT_EQ(buffer.back(), '#');
        return buffer.c_str();
    }
    std::string Flatten(PF_Handle handle, std::size_t missing = 0) const {
        A_u_long size = 0;
        Send(PF_Arbitrary_FLAT_SIZE_FUNC, [&](auto& u) {
            u.flat_size_func_params.arbH = handle;
            u.flat_size_func_params.flat_data_sizePLu = &size;
        });
        std::string buffer(size - missing, '#');
        Send(PF_Arbitrary_FLATTEN_FUNC, [&](auto& u) {
            u.flatten_func_params.arbH = handle;
            u.flatten_func_params.buf_sizeLu = static_cast<A_u_long>(buffer.size());
            u.flatten_func_params.flat_dataPV = buffer.data();
        });
        return buffer;
    }
    /// Reads from a block of its own size, so that a sanitizer sees a read behind it.
    PF_Handle Unflatten(const std::string& flat) const {
        const auto block = std::make_unique<char[]>(flat.size());
        std::copy(flat.begin(), flat.end(), block.get());
        PF_Handle handle = nullptr;
        Send(PF_Arbitrary_UNFLATTEN_FUNC, [&](auto& u) {
            u.unflatten_func_params.buf_sizeLu = static_cast<A_u_long>(flat.size());
            u.unflatten_func_params.flat_dataPV = block.get();
            u.unflatten_func_params.arbPH = &handle;
        });
        return handle;
    }
    bool AreEqual(PF_Handle a, PF_Handle b) const {
        PF_ArbCompareResult result = -1;
        Send(PF_Arbitrary_COMPARE_FUNC, [&](auto& u) {
            u.compare_func_params.a_arbH = a;
            u.compare_func_params.b_arbH = b;
            u.compare_func_params.compareP = &result;
        });
        EXPECT_TRUE(result == PF_ArbCompare_EQUAL || result == PF_ArbCompare_NOT_EQUAL);
        return result == PF_ArbCompare_EQUAL;
    }
    bool IsRamp() const { return std::string_view(mType) == "Ramp"; }

    PF_Handle MakeValue() const {
        return Scan(IsRamp() ? R"({"type":1,"interpolation":3,"keys":[[0.0,0.5],[0.25,0.125],[1,1]]})"
                             : R"({"interactInfo":1,"keys":[[0.0,{"color":[1,0.5,0],"type":0}],)"
                               R"([0.75,{"color":[0,0.25,1e-3],"type":2}]]})");
    }
    /// The failure's text, or an empty one. What is accepted must be whole.
    std::string Read(const std::string& flat) const {
        PF_Handle handle = nullptr;
        try {
            handle = Unflatten(flat);
        } catch (const std::exception& failure) {
            return failure.what();
        }
        PF_Handle again = Unflatten(Flatten(handle));
        EXPECT_TRUE(AreEqual(handle, again));
        CheckValues(*zeb::GetArbHandler(mType).LockObject(handle));
        Dispose(handle);
        Dispose(again);
        return {};
    }
    static void CheckValues(const zeb::CustomBase& value) {
        for (const float t : {-1.0F, 0.0F, 0.1F, 0.5F, 1.0F, 2.0F}) {
            if (const auto* ramp = dynamic_cast<const zeb::Ramp*>(&value)) {
                EXPECT_TRUE(ramp->Evaluate(t) >= 0.0F && ramp->Evaluate(t) <= 1.0F) << ramp->ToJSON();
            } else {
                const glm::vec3 color = dynamic_cast<const zeb::Gradient&>(value).GetColor(t);
                EXPECT_FALSE(std::isnan(color.x + color.y + color.z)) << value.ToJSON();
            }
        }
    }

    const char* mType = GetParam();
    test::FakeHost mHost;
    zeb::ThreadContextScope mScope;
};

INSTANTIATE_TEST_SUITE_P(Types, ArbHandler, testing::Values("Ramp", "Gradient"));

TEST_P(ArbHandler, LivesThroughAllForms) {
    PF_Handle original = MakeValue();
    PF_Handle copies[] = {Copy(original), Unflatten(Flatten(original)), Scan(Print(original)), Copy(nullptr), New()};
    EXPECT_NE(copies[0], original);
    Dispose(original);  // the others must stand on their own
    EXPECT_TRUE(AreEqual(copies[0], copies[1]));
    EXPECT_TRUE(AreEqual(copies[0], copies[2]));
    EXPECT_FALSE(AreEqual(copies[0], copies[3]));
    EXPECT_TRUE(AreEqual(copies[3], copies[4])) << "a copy of nothing is a new value";
    for (PF_Handle handle : copies) Dispose(handle);
    Dispose(nullptr);
}

TEST_P(ArbHandler, HasTheFlatFormOfItsType) {
    PF_Handle value = New();
    const std::string flat = Flatten(value);
    if (IsRamp()) {
        const std::int32_t head[] = {0, 0, 2};
        const float keys[] = {0.0F, 1.0F, 1.0F, 1.0F};
        ASSERT_EQ(flat.size(), 28U);
        EXPECT_EQ(std::memcmp(flat.data(), head, 12), 0);
        EXPECT_EQ(std::memcmp(flat.data() + 12, keys, 16), 0);
    } else {
        EXPECT_EQ(flat, Print(value)) << "its text, without an end";
        EXPECT_EQ(json::parse(flat)["keys"].size(), 2U);
    }
    EXPECT_EQ(Print(value, 5), Print(value).substr(0, 4));
    EXPECT_THROW(Flatten(value, 1), zeb::Exception) << "no room";
    Dispose(value);
}

TEST_P(ArbHandler, CutAtEveryLength) {
    PF_Handle value = MakeValue();
    const std::string whole = Flatten(value);
    Dispose(value);
    EXPECT_EQ(Read(whole), "");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_THAT(Read(whole.substr(0, length)),
                    HasSubstr(IsRamp() ? "\"Failed to deserialize a ramp\"" : "parse_error"))
            << length;
        ExpectNothingHeld();
    }
}

TEST_P(ArbHandler, CorruptedInEveryField) {
    PF_Handle value = MakeValue();
    const std::string whole = Flatten(value);
    Dispose(value);
    std::mt19937 random(3);
    int refused = 0;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const int byte : std::initializer_list<int>{0x00, 0x7f, 0x80, 0xff, '"', '{', '[', '9', 'e',
                                                         255 & static_cast<int>(random())}) {
            std::string bad = whole;
            bad[at] = static_cast<char>(byte);
            refused += Read(bad).empty() ? 0 : 1;
            bad.resize(at + random() % 8);
            Read(bad);
            EXPECT_EQ(mHost.mHandles, 0) << at << " " << byte;
        }
    }
    EXPECT_GT(refused, 10);
}

TEST_P(ArbHandler, TextThatIsNoValueLeavesNoHandle) {
    for (const char* text : {"", "Ramp", "\x01\x02\xff", "{\"keys\": [", "[1,", "17", "null",
                             "{\"type\": 0, \"interpolation\": 0, \"keys\": []} and more",
                             "{\"type\": 0, \"interpolation\": 0, \"keys\": [[\"a\", 0]]}"}) {
        EXPECT_THROW(Scan(text), json::exception) << text;
        ExpectNothingHeld();
    }
    EXPECT_THROW(Send(11, [](auto&) {}), zeb::Exception);
    PF_ArbParamsExtra without{};
    EXPECT_THROW(zeb::HandleArbitraryCallback(without), zeb::Exception);
    EXPECT_THROW(zeb::GetArbHandler("Curve"), zeb::Exception);
    mHost.mOutOfHandles = true;
    EXPECT_THROW(New(), zeb::Exception);
}

TEST_P(ArbHandler, InterpolatesBetweenTwoHandles) {
    const auto make = [&](const char* key) {
        return Scan(std::string(R"({"type":1,"interpolation":1,"keys":[)") + key + "]}");
    };
    PF_Handle left = make(IsRamp() ? "[0.0,0.0]" : R"([0.0,{"color":[0,0,0],"type":0}])");
    PF_Handle right = make(IsRamp() ? "[1.0,1.0]" : R"([1.0,{"color":[1,1,1],"type":0}])");
    PF_Handle between = nullptr;
    Send(PF_Arbitrary_INTERP_FUNC, [&](auto& u) {
        u.interp_func_params.left_arbH = left;
        u.interp_func_params.right_arbH = right;
        u.interp_func_params.tF = 0.25;
        u.interp_func_params.interpPH = &between;
    });
    PF_Handle expected = make(IsRamp() ? "[0.25,0.25]" : R"([0.25,{"color":[0.25,0.25,0.25],"type":0}])");
    EXPECT_TRUE(AreEqual(between, expected)) << Print(between);
    for (PF_Handle handle : {left, right, between, expected}) Dispose(handle);
}

}  // namespace
