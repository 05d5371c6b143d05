#include "routetrie/platform/Tesk/CharRange.h"

#include <gtest/gtest.h>

#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corvid/RangeException.h"

namespace CharRangeTest {

using Corenet::IpGenPrefix;
using Tesk::CharRange;

TEST(CharRange, isWhatIsLeft) {
   CharRange range("prefix 10");
   EXPECT_EQ("pre", range.take(3));
   EXPECT_EQ("fix 10", range.view());
   EXPECT_EQ("fix", range.takeWhile([](char c) { return c != ' '; }));
   EXPECT_EQ("", range.takeWhile([](char c) { return c != ' '; }));
   EXPECT_EQ(" 10", range.take(100));
   EXPECT_TRUE(range.empty());
   EXPECT_EQ("", range.take(1));
   EXPECT_TRUE(CharRange().empty());
}

TEST(SequenceToValue, readsAPrefixAndLeavesTheRest) {
   for (const auto* text : {"10.0.0.0/8", "2001:db8::/32", "::ffff:192.0.2.0/120", "none", "0.0.0.0/255"}) {
      for (const auto* rest : {"", ",position=3", ")", " 11.0.0.0/8"}) {
         const std::string whole = std::string(text) + rest;
         CharRange range(whole);
         IpGenPrefix prefix;
         Corenet::sequenceToValue(range, &prefix);
         EXPECT_EQ(IpGenPrefix::fromString(text), prefix);
         EXPECT_EQ(rest, range.view());
      }
   }
}

TEST(SequenceToValue, badTextLosesNothing) {
   for (const auto* text : {"", ",", "10.0.0.0/33", "10.0.0.1/8", "10.0.0.0", "(10.0.0.0/8"}) {
      CharRange range(text);
      auto prefix = IpGenPrefix::fromString("192.0.2.0/24");
      EXPECT_THROW(Corenet::sequenceToValue(range, &prefix), Corvid::RangeException) << text;
      EXPECT_EQ(IpGenPrefix::fromString("192.0.2.0/24"), prefix);
      EXPECT_EQ(text, range.view());
   }
}

}  // namespace CharRangeTest
