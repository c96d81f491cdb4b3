#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>

#include <nlohmann/json.hpp>

#include "../AE/FakeHost.h"
#include "PluginBase/AE/ArbHandlerAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Parameters/Custom/Gradient.h"
#include "PluginBase/Parameters/Custom/Ramp.h"

namespace {

/// What a project or a clipboard may hold in place of a custom value.
class CustomData : public testing::TestWithParam<const char*> {
protected:
    CustomData() : mScope(&mHost.mInData, &mHost.mOutData, nullptr) {}
    void TearDown() override {
        EXPECT_EQ(mHost.mHandles, 0);
        EXPECT_EQ(mHost.mLocks, 0);
    }

    std::string Flatten(PF_Handle handle) const {
        std::string flat(mHandler.GetFlatSize(handle), '#');
        mHandler.Flatten(handle, static_cast<std::uint32_t>(flat.size()), flat.data());
        return flat;
    }
    std::string MakeFlat() const {
        const bool isRamp = std::string_view(GetParam()) == "Ramp";
        PF_Handle handle =
            mHandler.Scan(isRamp ? R"({"type":1,"interpolation":3,"keys":[[0.0,0.5],[0.25,0.125],[1,1]]})"
                                 : R"({"interactInfo":1,"keys":[[0.0,{"color":[1,0.5,0],"type":0}],)"
                                   R"([0.75,{"color":[0,0.25,1e-3],"type":2}]]})");
        std::string flat = Flatten(handle);
        mHandler.Dispose(handle);
        return flat;
    }
    /// Reads from a block of its own size, so that a sanitizer sees a read behind it. What is accepted must be whole.
    /// Returns the failure's text, or an empty one.
    std::string Read(const std::string& flat) const {
        const auto block = std::make_unique<char[]>(flat.size());
        std::copy(flat.begin(), flat.end(), block.get());
        PF_Handle handle = nullptr;
        try {
            handle = mHandler.Unflatten(static_cast<std::uint32_t>(flat.size()), block.get());
        } catch (const std::exception& failure) {
            return failure.what();
        }
        PF_Handle again =
            mHandler.Unflatten(static_cast<std::uint32_t>(Flatten(handle).size()), Flatten(handle).data());
        EXPECT_EQ(mHandler.Compare(handle, again), PF_ArbCompare_EQUAL);
        CheckValues(*mHandler.LockObject(handle));
        mHandler.Dispose(handle);
        mHandler.Dispose(again);
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

    test::FakeHost mHost;
    zeb::ThreadContextScope mScope;
    const zeb::ArbHandlerBase& mHandler = zeb::GetArbHandler(GetParam());
};

INSTANTIATE_TEST_SUITE_P(Types, CustomData, testing::Values("Ramp", "Gradient"));

TEST_P(CustomData, CutAtEveryLength) {
    const std::string whole = MakeFlat();
    EXPECT_EQ(Read(whole), "");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_THAT(
            Read(whole.substr(0, length)),
            testing::HasSubstr(GetParam() == std::string("Ramp") ? "Failed to deserialize a ramp" : "parse_error"))
            << length;
        EXPECT_EQ(mHost.mHandles, 0) << length;
    }
}

TEST_P(CustomData, CorruptedInEveryField) {
    const std::string whole = MakeFlat();
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

TEST_P(CustomData, TextThatIsNoValue) {
    const std::pair<const char*, const char*> texts[] = {
        {"", "parse_error"},
        {"Ramp", "parse_error"},
        {"\x01\x02\xff", "parse_error"},
        {"{\"keys\": [", "parse_error"},
        {"{\"type\": 0, \"interpolation\": 0, \"keys\": []} and more", "parse_error"},
        {"17", "type_error"},
        {"null", "type_error"},
        {"{\"type\": 0, \"interpolation\": 0}", "type must be array, but is null"},
        {"{\"type\": 0, \"interpolation\": 0, \"keys\": {}}", "type must be array, but is object"},
        {"{\"type\": 0, \"interpolation\": 0, \"keys\": [[\"a\", 0]]}", "type must be number, but is string"},
    };
    for (const auto& [text, message] : texts) {
        try {
            mHandler.Dispose(mHandler.Scan(text));
            ADD_FAILURE() << text;
        } catch (const std::exception& failure) {
            EXPECT_THAT(failure.what(), testing::HasSubstr(message)) << text;
        }
        EXPECT_EQ(mHost.mHandles, 0) << text;
    }
}

}  // namespace
