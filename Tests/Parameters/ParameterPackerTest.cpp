#include "PluginBase/Parameters/ParameterPacker.h"

#include <array>
#include <cstring>
#include <thread>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "../Failure.h"
#include "PluginBase/Script/JSContext.h"
#include "TestSupport.h"

namespace {

using test::Entry;
using test::kRange;
using test::MessageOf;

const std::vector<std::string> kParameters = {
    Entry("Checkbox", 1, R"("default":{"value":true})"),
    Entry("IntSlider", 2, kRange + R"(,"default":{"value":-3})"),
    Entry("Popup", 3, R"("enum":{"value":["A","B","C"]},"default":{"value":2})"),
    Entry("FloatSlider", 4, kRange + R"(,"default":{"value":1.5})"),
    Entry("Point3", 5, R"("defaultX":{"value":1},"defaultY":{"value":2},"defaultZ":{"value":3})"),
    Entry("Custom", 6,
          R"("valueType":"Ramp","showControlIndex":0,
             "default":{"type":0,"interpolation":1,"keys":[[0,0.25],[1,0.75]]})"),
    Entry("Custom", 7,
          R"("valueType":"Gradient","showControlIndex":0,"colorIndex":0,
             "default":{"keys":[[0,{"color":[1,0,0],"type":0}],[1,{"color":[0,0,1],"type":0}]]})"),
    Entry("IntSlider", 8, kRange + R"(,"skipAPI":["AE"],"default":{"value":5})"),
};

/// A manager with one script and packs of its own.
class Fixture {
public:
    Fixture(const std::string& packs, std::string script)
        : mScript(std::move(script)),
          mFile{"S.js", mScript},
          mLoader(&mFile, 1),
          mManager(fmt::format(R"({{"parameters":[{}],"packJSFilenames":["S.js"],"packs":{}}})",
                               fmt::join(kParameters, ","), packs),
                   MakeOptions(mLoader)) {}

    std::vector<std::byte> Pack(const test::Values& values = {}) const {
        std::vector<std::byte> bytes;
        zeb::BlobWriter writer(bytes);
        mManager.GetPacker().PackFromGetter(writer, test::ValuesGetter(mManager, values));
        return bytes;
    }
    const test::TextManager& GetManager() const { return mManager; }

private:
    static zeb::ParametersManagerOptions MakeOptions(const zeb::TextFileLoader& loader) {
        zeb::ParametersManagerOptions options;
        options.mTextFileLoader = &loader;
        return options;
    }

    std::string mScript;
    zeb::EmbeddedTextFile mFile;
    zeb::TextFileLoader mLoader;
    test::TextManager mManager;
};

std::string Member(const char* name, int offset, const char* type, int source = -1, int size = 0) {
    return fmt::format(R"({{"name":"{}","offset":{},"type":"{}","sourceParameter":{},"arraySize":{}}})", name, offset,
                       type, source, size);
}

std::string OnePack(const std::vector<std::string>& members, const std::string& more = "") {
    return fmt::format(R"([{{"name":"P","sizeInBytes":256{},"members":[{}]}}])", more, fmt::join(members, ","));
}

template <class T>
T At(const std::vector<std::byte>& bytes, std::size_t offset) {
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

/// A host may render another frame before it tells a parameter's value.
TEST(ParameterPacker, AFrameWithinAFrameLeavesItAlone) {
    const Fixture fixture(OnePack({Member("d", 0, "Float32", 3), Member("i", 4, "Int32", 1), Member("s", 8, "Float32")},
                                  R"(,"scriptFunction":"F")"),
                          "var P = {d: 0, i: 0, s: 0}; function F(g) { P.s = P.d * 10; }");
    test::Values inner;
    inner.mDoubles[3] = 7.0;
    test::Values outer;
    outer.mDoubles[3] = 2.0;
    std::vector<std::byte> innerBytes;
    outer.mBeforeInt = [&] { innerBytes = fixture.Pack(inner); };
    const std::vector<std::byte> bytes = fixture.Pack(outer);
    EXPECT_EQ(innerBytes, fixture.Pack(inner));
    outer.mBeforeInt = nullptr;
    EXPECT_EQ(bytes, fixture.Pack(outer));
    EXPECT_NE(bytes, innerBytes);
}

TEST(ParameterPacker, LaysOutTheBlob) {
    const Fixture fixture(
        R"([{"name":"P","sizeInBytes":8,"members":[{"name":"m","offset":4,"type":"Int32","sourceParameter":1}]},
                              {"name":"Long","sizeInBytes":4,"members":[]}])",
        "var P = {m: 0}; var Long = {};");
    std::vector<std::byte> bytes(5);  // what is before the blob does not count in its offsets
    zeb::BlobWriter writer(bytes);
    const test::Values values;
    fixture.GetManager().GetPacker().PackFromGetter(writer, test::ValuesGetter(fixture.GetManager(), values));
    bytes.erase(bytes.begin(), bytes.begin() + 5);
    ASSERT_EQ(bytes.size(), 8U + 2 * 32 + 5 + 12);
    const std::uint64_t expected[] = {2, 72, 1, 77, 8, 73, 4, 85, 4};
    for (std::size_t i = 0; i < std::size(expected); ++i) EXPECT_EQ(At<std::uint64_t>(bytes, 8 * i), expected[i]) << i;
    EXPECT_EQ(std::memcmp(bytes.data() + 72, "PLong", 5), 0);
    EXPECT_EQ(At<std::int32_t>(bytes, 77), 0);
    EXPECT_EQ(At<std::int32_t>(bytes, 81), -3);
    const zeb::PackedParameters view(bytes.data(), bytes.size());
    EXPECT_THAT(view.GetNames(), testing::ElementsAre("P", "Long"));
    EXPECT_EQ(view.Read<std::int32_t>("P", 4), -3);
    EXPECT_EQ(view.GetBytes("Long", 4), bytes.data() + 85);
    EXPECT_THAT(MessageOf([&] { (void)view.GetStruct("Q"); }), testing::HasSubstr("\"Q\""));
    EXPECT_THAT(MessageOf([&] { (void)view.GetBytes("P", 4); }), testing::HasSubstr("8 bytes instead of 4"));
    EXPECT_NE(MessageOf([&] { (void)view.Read<float>("P", 5); }), "");
    nlohmann::json dump = nlohmann::json::array();
    fixture.GetManager().GetPacker().Dump(view, dump);
    EXPECT_EQ(dump, nlohmann::json::parse(R"([{"m":-3},{}])"));
}

TEST(PackedParameters, BlobCutAtAnyLengthIsRefused) {
    const Fixture fixture(OnePack({Member("m", 0, "Int32", 1)}), "var P = {m: 0};");
    const std::vector<std::byte> whole = fixture.Pack();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::vector<std::byte> cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_THAT(MessageOf([&] { zeb::PackedParameters view(cut.data(), cut.size()); }),
                    testing::HasSubstr("cut short"));
    }
    std::vector<std::byte> hostile = whole;
    const std::uint64_t huge = ~std::uint64_t{0};
    for (std::size_t field = 0; field < 5; ++field) {
        hostile = whole;
        std::memcpy(hostile.data() + 8 * field, &huge, sizeof(huge));
        EXPECT_NE(MessageOf([&] { zeb::PackedParameters view(hostile.data(), hostile.size()); }), "") << field;
    }
}

TEST(ParameterPacker, FillsEveryMemberType) {
    const Fixture fixture(
        OnePack({Member("b", 0, "Bool", 0), Member("i", 4, "Int32", 1), Member("p", 8, "Int32", 2),
                 Member("f", 12, "Float32", 3), Member("v", 16, "Vec3", 4), Member("w", 32, "Vec4"),
                 Member("u", 48, "Vec2"), Member("m", 64, "Mat4x4"), Member("r", 128, "Float32", 5, 5),
                 Member("g", 148, "Vec4", 6, 3), Member("n", 196, "Int32", -1, 2), Member("s", 204, "Int32", 7)},
                R"(,"scriptFunction":"Run")"),
        R"(var P = {b: 0, i: 0, p: 0, f: 0, v: new vec3(9, 9, 9), w: new vec4(9, 9, 9, 9), u: new vec2(9, 9),
                    m: mat4x4.makeIdentity(), r: new Float32Array(5), g: new Float32Array(12), n: new Int32Array(2),
                    s: 1};
           var kept = P.v;
           function Run(getter) {
               P.f = P.f + kept.x;  // the vector's object stays, so a reference to it sees the new data
               P.w.w = getter.Get(4).z;
               P.n[1] = 77;
           })");
    const auto check = [&](const std::vector<std::byte>& blob) {
        const zeb::PackedParameters view(blob.data(), blob.size());
        EXPECT_EQ(view.Read<std::int32_t>("P", 0), 1);
        EXPECT_EQ(view.Read<std::int32_t>("P", 4), -3);
        EXPECT_EQ(view.Read<std::int32_t>("P", 8), 2);
        EXPECT_EQ(view.Read<float>("P", 12), 2.5F);
        EXPECT_EQ((view.Read<std::array<float, 4>>("P", 16)), (std::array<float, 4>{1, 2, 3, 0}));
        EXPECT_EQ((view.Read<std::array<float, 4>>("P", 32)), (std::array<float, 4>{0, 0, 0, 1.5F})) << "the raw form";
        EXPECT_EQ((view.Read<std::array<float, 18>>("P", 48)), (std::array<float, 18>{}));
        EXPECT_EQ((view.Read<std::array<float, 5>>("P", 128)),
                  (std::array<float, 5>{0.25F, 0.375F, 0.5F, 0.625F, 0.75F}));
        EXPECT_EQ((view.Read<std::array<float, 12>>("P", 148)),
                  (std::array<float, 12>{1, 0, 0, 1, 0.5F, 0, 0.5F, 1, 0, 0, 1, 1}));
        EXPECT_EQ(view.Read<std::int32_t>("P", 196), 0);
        EXPECT_EQ(view.Read<std::int32_t>("P", 200), 77);
        EXPECT_EQ(view.Read<std::int32_t>("P", 204), 0) << "a parameter that the host never sees reads as absent";
    };
    check(fixture.Pack());
    check(fixture.Pack());  // nothing is left over from the call before

    nlohmann::json dump = nlohmann::json::array();
    const std::vector<std::byte> blob = fixture.Pack();
    fixture.GetManager().GetPacker().Dump(zeb::PackedParameters(blob.data(), blob.size()), dump);
    ASSERT_EQ(dump.size(), 1U);
    EXPECT_EQ(dump[0]["b"], true);
    EXPECT_EQ(dump[0]["v"], nlohmann::json::parse("[1.0,2.0,3.0]"));
    EXPECT_EQ(dump[0]["r"], nlohmann::json::parse("[0.25,0.375,0.5,0.625,0.75]"));
    EXPECT_EQ(dump[0]["g"][1], nlohmann::json::parse("[0.5,0.0,0.5,1.0]"));
}

TEST(ParameterPacker, AScriptErrorShowsTheStackAndLeavesTheContextUsable) {
    const Fixture fixture(OnePack({Member("i", 0, "Int32", 1)}, R"(,"scriptFunction":"Run")"),
                          R"(var P = {i: 0}; var kept = null;
                             function Inner(getter) { if (getter.Get(1) < 0) throw new Error('negative'); }
                             function Run(getter) {
                                 if (getter.Get(1) === 2) kept.Get(1);
                                 if (getter.Get(1) === 3) getter.Get(99);
                                 if (getter.Get(1) === 4) getter.Get(undefined);
                                 if (getter.Get(1) === 5) (function f() { f(); })();
                                 if (getter.Get(1) === 6) throw {toString: function() { throw 1; }};
                                 Inner(getter); kept = getter;
                             })");
    test::Values values;
    values.mInts[1] = 1;
    const std::vector<std::byte> good = fixture.Pack(values);
    const std::pair<std::int32_t, const char*> cases[] = {
        {-1, "Error: negative"}, {2, "The parameter getter is no longer valid."},
        {3, "at Run (S.js:5)"},  {4, "Get needs the index of a parameter"},
        {5, "RangeError"},       {6, "duk_pcall(script, 1)"}};
    // More rounds than the engine's stack has slots: a leak of one slot in each would end them.
    for (int round = 0; round < 100; ++round) {
        for (const auto& [value, message] : cases) {
            values.mInts[1] = value;
            try {
                (void)fixture.Pack(values);
                FAIL() << value;
            } catch (const zeb::ScriptException& error) {
                EXPECT_THAT(error.what(), testing::HasSubstr("Failed to call duk_pcall(script, 1)"));
                EXPECT_THAT(error.what(), testing::HasSubstr(message));
                if (value == -1) {
                    EXPECT_THAT(error.GetStack(), testing::HasSubstr("at Inner (S.js:2)"));
                }
            }
        }
        values.mInts[1] = 1;
        ASSERT_EQ(fixture.Pack(values), good);
    }
}

TEST(ParameterPacker, EachThreadHasItsOwnScriptState) {
    const Fixture fixture(OnePack({Member("f", 0, "Float32")}, R"(,"scriptFunction":"Run")"),
                          "var P = {f: 0}; var calls = 0; function Run(getter) { P.f = ++calls; }");
    std::array<float, 4> counts{};
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < counts.size(); ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 25; ++i) {
                const auto blob = fixture.Pack();
                counts[t] = zeb::PackedParameters(blob.data(), blob.size()).Read<float>("P", 0);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(counts, testing::Each(25.0F));
}

}  // namespace
