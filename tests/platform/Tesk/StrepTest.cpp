#include "routetrie/platform/Tesk/Strep.h"

#include <gtest/gtest.h>

#include <string>

#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Vrf/VrfIdMap.h"

namespace StrepTest {

using Tesk::CharRange;

// A type with three attributes, of two kinds.
struct Route {
   explicit Route(CharRange& range)
      : prefix(Tesk::desAttrPre<Corenet::IpGenPrefix>(range, "Test::Route", "prefix")),
        metric([&] {
           range.needNext("metric");
           return Tesk::desAttrValue<U32>(range, "metric");
        }()),
        tag(Tesk::desAttrPost<U32>(range, "tag")) {}

   Corvid::String text() const {
      return TeskCorvid::Impl::valueToStrep(
         "Test::Route",
         {{"prefix", prefix.stringValue()}, {"metric", std::to_string(metric)}, {"tag", std::to_string(tag)}});
   }

   Corenet::IpGenPrefix prefix;
   U32 metric;
   U32 tag;
};

std::string faultOf(std::string_view text) {
   try {
      static_cast<void>(Tesk::strepToValue<Route>(text));
   } catch (const Corvid::RangeException& exception) {
      return exception.what();
   }
   return "none";
}

TEST(Strep, roundTrip) {
   constexpr std::string_view text = "Test::Route(prefix=2001:db8::/32,metric=7,tag=4294967295)";
   const auto route = Tesk::strepToValue<Route>(text);
   EXPECT_EQ("2001:db8::/32", route.prefix.stringValue());
   EXPECT_EQ(7u, route.metric);
   EXPECT_EQ(4294967295u, route.tag);
   EXPECT_EQ(text, route.text());
}

TEST(Strep, aValueIsTakenFromTheFront) {
   CharRange range("Test::Route(prefix=10.0.0.0/8,metric=1,tag=2), and more");
   const Route route(range);
   EXPECT_EQ("10.0.0.0/8", route.prefix.stringValue());
   EXPECT_EQ(", and more", range.view());
}

TEST(Strep, faultsNameTheAttribute) {
   EXPECT_EQ("prefix: \"Test::Route(prefix=\" expected: \"\"", faultOf(""));
   EXPECT_EQ("prefix: \"Test::Route(prefix=\" expected: \"Test::Way(prefix=10.0.0.0/8,metric=1,tag=2)\"",
             faultOf("Test::Way(prefix=10.0.0.0/8,metric=1,tag=2)"));
   EXPECT_EQ("prefix: prefix length 33 exceeds 32: \"10.0.0.0/33\"",
             faultOf("Test::Route(prefix=10.0.0.0/33,metric=1,tag=2)"));
   EXPECT_EQ("metric: \",metric=\" expected: \",cost=1,tag=2)\"",
             faultOf("Test::Route(prefix=10.0.0.0/8,cost=1,tag=2)"));
   EXPECT_EQ("metric: not a number: \"x,tag=2)\"", faultOf("Test::Route(prefix=10.0.0.0/8,metric=x,tag=2)"));
   EXPECT_EQ("metric: not a number: \"-1,tag=2)\"", faultOf("Test::Route(prefix=10.0.0.0/8,metric=-1,tag=2)"));
   EXPECT_EQ("tag: number past 32 bits: \"4294967296)\"",
             faultOf("Test::Route(prefix=10.0.0.0/8,metric=1,tag=4294967296)"));
   EXPECT_EQ("tag: \")\" expected: \"\"", faultOf("Test::Route(prefix=10.0.0.0/8,metric=1,tag=2"));
   EXPECT_EQ("text left over: \" \"", faultOf("Test::Route(prefix=10.0.0.0/8,metric=1,tag=2) "));
}

TEST(Strep, aFaultTakesNothing) {
   CharRange range("x");
   U32 value = 5;
   EXPECT_THROW(Tesk::sequenceToValue(range, &value), Corvid::RangeException);
   EXPECT_THROW(range.needPre("T", "a"), Corvid::RangeException);
   EXPECT_THROW(range.needNext("a"), Corvid::RangeException);
   EXPECT_THROW(range.needPost("a"), Corvid::RangeException);
   EXPECT_EQ("x", range.view());
   EXPECT_EQ(5u, value);
}

TEST(Strep, aRethrownFaultSaysWhere) {
   try {
      Tesk::rethrowFromDeserializeAttr(Corvid::RangeException("not a number"), "key");
   } catch (const Corvid::RangeException& exception) {
      EXPECT_STREQ("key: not a number", exception.what());
      return;
   }
   FAIL() << "nothing was raised";
}

}  // namespace StrepTest
