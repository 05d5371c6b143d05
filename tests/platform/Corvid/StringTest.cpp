#include "routetrie/platform/Corvid/String.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <sstream>
#include <unordered_set>

namespace StringTest {

using Corvid::String;
using namespace std::string_view_literals;

TEST(String, isEmptyByDefault) {
   const String text;
   EXPECT_TRUE(text.empty());
   EXPECT_EQ(0u, text.size());
   EXPECT_EQ("", text.view());
   EXPECT_STREQ("", text.data());
   EXPECT_STREQ("", text.c_str());
}

TEST(String, isMadeFromAnyText) {
   EXPECT_EQ("abc", String("abc").view());
   EXPECT_EQ("abc", String("abc"sv).view());
   EXPECT_EQ("abc", String(std::string("abc")).view());
   const String implicit = "abc";
   EXPECT_EQ("abc", implicit.view());
   EXPECT_EQ(3u, implicit.size());
   EXPECT_FALSE(implicit.empty());
}

TEST(String, dataEndsInANulThatSizeDoesNotCount) {
   const String text("abcdef"sv.substr(0, 3));
   EXPECT_EQ(3u, text.size());
   EXPECT_EQ('\0', text.data()[3]);
   EXPECT_EQ(3u, std::strlen(text.c_str()));
}

TEST(String, mayHoldANul) {
   const String text("a\0b"sv);
   EXPECT_EQ(3u, text.size());
   EXPECT_EQ("a\0b"sv, text.view());
   EXPECT_NE(text, "a");
}

TEST(String, copiesAreIndependent) {
   String first = std::string(100, 'a');
   const String copy = first;
   EXPECT_NE(first.data(), copy.data());
   first = "other";
   EXPECT_EQ(std::string(100, 'a'), copy.view());
   String moved = std::move(first);
   EXPECT_EQ("other", moved);
   moved = copy;
   EXPECT_EQ(copy, moved);
}

TEST(String, converts) {
   const String text = "abc";
   const std::string_view view = text;
   const std::string copied = text;
   std::string assigned;
   assigned = std::string(text);
   EXPECT_EQ("abc", view);
   EXPECT_EQ("abc", copied);
   EXPECT_EQ("abc", assigned);
   EXPECT_EQ("abc/8", std::string(text) + "/8");
}

TEST(String, compares) {
   const String abc = "abc";
   EXPECT_TRUE(abc == String("abc"));
   EXPECT_TRUE(abc == "abc");
   EXPECT_TRUE("abc" == abc);
   EXPECT_TRUE(abc == "abc"sv);
   EXPECT_TRUE("abc"sv == abc);
   EXPECT_TRUE(abc == std::string("abc"));
   EXPECT_TRUE(std::string("abc") == abc);
   EXPECT_TRUE(abc != "abd");
   EXPECT_TRUE(abc < String("abd"));
   EXPECT_TRUE(abc > String("ab"));
   EXPECT_FALSE(abc < abc);
   EXPECT_TRUE(String("\x7f") < String("\x80")) << "characters are compared without sign";
}

TEST(String, prints) {
   std::ostringstream out;
   out << String("abc") << '|' << String() << '|' << String("a\0b"sv);
   EXPECT_EQ("abc||a\0b"sv, out.str());
   EXPECT_EQ("abc", fmt::format("{}", String("abc")));
   EXPECT_EQ("  abc|abc..|ab", fmt::format("{:>5}|{:.<5}|{:.2}", String("abc"), String("abc"), String("abc")));
   EXPECT_EQ("a\0b"sv, fmt::format("{}", String("a\0b"sv)));
}

TEST(String, isAKey) {
   std::unordered_set<String> hashed{"a", "b", "a"};
   EXPECT_EQ(2u, hashed.size());
   EXPECT_EQ(1u, hashed.count("b"));
   EXPECT_EQ(std::hash<String>()("abc"), std::hash<std::string_view>()("abc"));
   const std::set<String> ordered{"b", "a", "c"};
   EXPECT_EQ("a", *ordered.begin());
}

}  // namespace StringTest
