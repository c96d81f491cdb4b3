#include "NimbrelHost/Support/HandleStore.h"

#include <gmock/gmock.h>

#include <cstring>

#include "NimbrelHost/Commands/SuiteRegistry.h"
#include "NimbrelHost/Support/Hash128.h"
#include "NimbrelHost/Support/Text.h"
#include "TestSupport.h"

namespace nimbrel::host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(HandleStore, CountsAndResizes) {
    Diagnostics diagnostics;
    HandleStore store("handle", diagnostics);
    void** const handle = store.New(4);
    void** const empty = store.New(0);
    std::memcpy(*handle, "abc", 4);
    EXPECT_EQ(store.Lock(handle), *handle);
    EXPECT_EQ(store.CountLocked(), 1U);
    EXPECT_TRUE(store.Unlock(handle));
    EXPECT_TRUE(store.Resize(handle, 100000));
    EXPECT_STREQ(static_cast<char*>(*handle), "abc");
    EXPECT_EQ(store.GetSize(handle), 100000U);
    EXPECT_EQ(store.GetSize(empty), 0U);
    EXPECT_EQ(store.CountLive(), 2U);
    EXPECT_EQ(store.New(~std::uint64_t{0}), nullptr);
    EXPECT_TRUE(store.Dispose(handle));
    EXPECT_TRUE(store.Dispose(empty));
    EXPECT_EQ(store.CountLive(), 0U);
    EXPECT_THAT(diagnostics.Get(), IsEmpty());
}

TEST(HandleStore, ReportsMisuseInsteadOfFollowingIt) {
    Diagnostics diagnostics;
    HandleStore store("handle", diagnostics);
    void** const handle = store.New(8);
    EXPECT_FALSE(store.Unlock(handle));
    store.Dispose(handle);
    EXPECT_FALSE(store.Dispose(handle));
    EXPECT_EQ(store.Lock(nullptr), nullptr);
    EXPECT_THAT(diagnostics.Get(),
                ElementsAre("unlock: handle that is not locked", "dispose: handle that is not, or no longer, in use",
                            "lock: handle that is not, or no longer, in use"));
}

TEST(SuiteRegistry, CountsByNameAndVersion) {
    SuiteRegistry suites;
    const int table = 0, other = 0;
    suites.Add("A", 1, &table);
    suites.Add("A", 2, &other);
    EXPECT_EQ(suites.Acquire("A", 1), &table);
    EXPECT_EQ(suites.Acquire("A", 2), &other);
    EXPECT_EQ(suites.Acquire("A", 1), &table);
    EXPECT_EQ(suites.Acquire("A", 3), nullptr);
    EXPECT_EQ(suites.Acquire("B", 1), nullptr);
    EXPECT_EQ(suites.Acquire(nullptr, 1), nullptr);
    EXPECT_TRUE(suites.Release("A", 2));
    EXPECT_FALSE(suites.Release("A", 2));
    EXPECT_FALSE(suites.Release("B", 1));
    EXPECT_EQ(suites.CountHeld("A", 1), 2);
    EXPECT_THAT(suites.ListHeld(), ElementsAre("A 1 (held 2 times)"));
}

TEST(Hash128, TellsBlocksOrderAndLengthApart) {
    const auto hash = [](std::initializer_list<std::string> blocks) {
        Hash128 made = StartHash();
        for (const std::string& block : blocks) MixHash(made, block.data(), block.size());
        return made;
    };
    const std::string zeros(16, '\0');
    const std::vector<Hash128> hashes = {hash({}),           hash({""}),         hash({"abc"}),
                                         hash({"ab", "c"}),  hash({"c", "ab"}),  hash({"a", "bc"}),
                                         hash({"abd"}),      hash({zeros}),      hash({zeros.substr(1)}),
                                         hash({"12345678"}), hash({"123456789"})};
    for (std::size_t i = 0; i < hashes.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) EXPECT_NE(hashes[i], hashes[j]) << i << " " << j;
    }
    EXPECT_EQ(hash({"abc"}), hash({"abc"}));
}

TEST(Text, CrossesToUtf16AndBack) {
    const std::string text = "mod\xc3\xa8le \xf0\x9f\x8d\x93.ply";
    const std::u16string wide = ToUtf16(text);
    EXPECT_EQ(wide, u"mod\u00e8le \U0001F353.ply");
    EXPECT_EQ(ToUtf8(wide), text);
    EXPECT_EQ(ToUtf16("a\xff"), u"a\uFFFD");
    EXPECT_EQ(ToUtf8(std::u16string(1, char16_t{0xD83C})), "\xef\xbf\xbd");
    EXPECT_EQ(ToUtf8(static_cast<const std::uint16_t*>(nullptr)), "");
}

}  // namespace
}  // namespace nimbrel::host
