#include "platform/Text.h"

#include <gtest/gtest.h>

#include <string>

namespace peekmend::test {
namespace {

TEST(Text, AcceptsUtf8AndNothingElse) {
    using namespace std::string_literals;
    for (const std::string& valid :
         {""s, "plain text of more than eight bytes"s, "\0"s, "\xEF\xBB\xBF"s, "\xC2\x80"s,
          "\xDF\xBF"s, "\xE0\xA0\x80"s, "\xED\x9F\xBF"s, "\xEE\x80\x80"s, "\xF0\x90\x80\x80"s,
          "\xF4\x8F\xBF\xBF"s, "1234567\xC3\xBC"s}) {
        EXPECT_EQ(decodeUtf8(valid), valid);
        EXPECT_TRUE(isValidUtf8(valid)) << testing::PrintToString(valid);
    }
    for (const std::string& invalid :
         {"\x80"s, "\xC0\x80"s, "\xC1\xBF"s, "\xC3"s, "\xC3("s, "\xE0\x9F\xBF"s, "\xED\xA0\x80"s,
          "\xE2\x82"s, "\xE2\x82("s, "\xF0\x8F\xBF\xBF"s, "\xF4\x90\x80\x80"s, "\xF5\x80\x80\x80"s,
          "\xFF"s, "12345678\xFF"s, "1234567\xC3"s, "\xF0\x9F\x98"s}) {
        EXPECT_EQ(decodeUtf8(invalid), "") << testing::PrintToString(invalid);
    }
}

TEST(Text, TrimsEachSetAndNothingElse) {
    const char* const spaces[] = {
        "\t",     " ",      "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004",
        "\u2005", "\u2006", "\u2007", "\u2008", "\u2009", "\u200A", "\u202F", "\u205F", "\u3000",
    };
    const char* const newlines[] = {"\n", "\v", "\f", "\r", "\u0085", "\u2028", "\u2029"};
    const char* const neither[] = {"\u200B", "\u180E", "\uFEFF", "\b", "\x1F"};
    const auto surrounded = [](std::string_view text, const char* by) {
        return by + (by + std::string(text)) + by;
    };
    for (const char* const space : spaces) {
        EXPECT_EQ(trimSpaces(surrounded("a b", space)), "a b");
        EXPECT_EQ(trimNewlines(surrounded("a", space)), surrounded("a", space));
    }
    for (const char* const newline : newlines) {
        EXPECT_EQ(trimNewlines(surrounded("a\nb", newline)), "a\nb");
        EXPECT_EQ(trimSpaces(surrounded("a", newline)), surrounded("a", newline));
    }
    for (const char* const character : neither) {
        EXPECT_EQ(trimSpaces(surrounded("a", character)), surrounded("a", character));
        EXPECT_EQ(trimNewlines(surrounded("a", character)), surrounded("a", character));
    }
    EXPECT_EQ(trimSpaces(" \t "), "");
    EXPECT_EQ(trimNewlines("\n\n"), "");
}

} // namespace
} // namespace peekmend::test
