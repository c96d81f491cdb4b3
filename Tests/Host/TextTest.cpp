#include "NimbrelHost/Support/Text.h"

#include <gtest/gtest.h>

namespace nimbrel::host {
namespace {

TEST(Text, MessagesShowForeignTextsHarmlessly) {
    const struct {
        std::string mText;
        const char* mQuoted;
        const char* mPrintable;
    } cases[] = {
        {"", "\"\"", ""},
        {"a \"b\" C:\\d", "\"a \\\"b\\\" C:\\d\"", "a \"b\" C:\\d"},
        {"gr\xC3\xBC\xC3\x9F \xE2\x82\xAC", "\"gr\xC3\xBC\xC3\x9F \xE2\x82\xAC\"", "gr\xC3\xBC\xC3\x9F \xE2\x82\xAC"},
        {"\x1B]0;title\x07", "\"\\u001b]0;title\\u0007\"", "\\u001b]0;title\\u0007"},
        {"one\ntwo\tthree\r", "\"one\\ntwo\\tthree\\r\"", "one\ntwo\tthree\\r"},
        {std::string("a\0b", 3), "\"a\\u0000b\"", "a\\u0000b"},
        {"\xC2\x9B"
         "2J \xE2\x80\xAE",
         "\"\\u009b2J \\u202e\"", "\\u009b2J \\u202e"},
        {"\xFF\xC3", "\"\\xff\\xc3\"", "\\xff\\xc3"},
    };
    for (const auto& [text, quoted, printable] : cases) {
        EXPECT_EQ(Quote(text), quoted);
        EXPECT_EQ(MakePrintable(text), printable);
    }
}

TEST(Text, LongTextsLoseTheirMiddle) {
    const std::string quoted = Quote("begin" + std::string(100'000'000, 'x') + "end");
    EXPECT_LT(quoted.size(), 200U);
    EXPECT_TRUE(quoted.starts_with("\"beginxxx") && quoted.ends_with("xxxend\"")) << quoted;
    // The cut falls between characters.
    std::string euros;
    for (int i = 0; i < 1000; ++i) euros += "\xE2\x82\xAC";
    EXPECT_EQ(Quote(euros).find("\\x"), std::string::npos);
}

}  // namespace
}  // namespace nimbrel::host
