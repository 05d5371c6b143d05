// AnswerWalk: against a search through all routes for each address.
#include "tools/rtrie/map/AnswerWalk.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "Support.h"

namespace Rtrie {
namespace AnswerWalkTest {

using Corenet::U128;

template <class Number>
std::string spansOf(const RouteSet& routes, std::string_view block) {
   const auto prefix = Support::prefix(block);
   const auto placed =
      routesOver<Number>(routes, prefix, [](const auto&, const Payload& payload) { return payload.id; });
   AnswerWalk<Number> walk(placed, rangeOf<Number>(prefix));
   std::string text;
   while (const auto span = walk.next()) {
      text += fmt::format("{} {} {}\n", prefixOf(span->range.first, widthBits<Number>).stringValue(),
                          span->route == nullptr ? std::string("none") : fmt::format("/{}", span->route->lengthBits),
                          span->depth);
   }
   return text;
}

TEST(AnswerWalk, givesEachPlaceItsLongestRoute) {
   RouteSet routes;
   for (const char* text : {"10.0.0.0/8", "10.1.0.0/16", "10.1.0.0/24", "10.255.0.0/16", "255.255.255.255/32"}) {
      routes.add(Support::prefix(text), "");
   }
   routes.seal();
   EXPECT_EQ(
      "0.0.0.0/32 none 0\n"
      "10.0.0.0/32 /8 1\n"
      "10.1.0.0/32 /24 3\n"
      "10.1.1.0/32 /16 2\n"
      "10.2.0.0/32 /8 1\n"
      "10.255.0.0/32 /16 2\n"
      "11.0.0.0/32 none 0\n"
      "255.255.255.255/32 /32 1\n",
      spansOf<U32>(routes, "0.0.0.0/0"));
   EXPECT_EQ("10.1.0.0/32 /24 3\n10.1.1.0/32 /16 2\n", spansOf<U32>(routes, "10.1.0.0/23"));
   EXPECT_EQ("10.1.0.0/32 /24 3\n", spansOf<U32>(routes, "10.1.0.0/32"));
   EXPECT_EQ("12.0.0.0/32 none 0\n", spansOf<U32>(routes, "12.0.0.0/8"));
}

TEST(AnswerWalk, comesToBothEndsOfTheAddresses) {
   RouteSet routes;
   for (const char* text :
        {"::/0", "::/128", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128", "2001:db8::/32", "0.0.0.0/0"}) {
      routes.add(Support::prefix(text), "");
   }
   routes.seal();
   EXPECT_EQ(
      "::/128 /128 2\n"
      "::1/128 /0 1\n"
      "2001:db8::/128 /32 2\n"
      "2001:db9::/128 /0 1\n"
      "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128 /128 2\n",
      spansOf<U128>(routes, "::/0"));
   EXPECT_EQ("0.0.0.0/32 /0 1\n", spansOf<U32>(routes, "0.0.0.0/0"));
}

// All of a small world: a block of 256 addresses, at both ends of the space and within it.
template <class Number>
void compareWithSearches(Number base) {
   constexpr unsigned bits = 8;
   const unsigned seed = std::random_device{}();
   SCOPED_TRACE(seed);
   std::mt19937 random(seed);
   for (int round = 0; round < 200; ++round) {
      RouteSet routes;
      std::map<Corenet::IpGenPrefix, U8> all;
      for (auto i = random() % 12; i > 0; --i) {
         const auto length = static_cast<U8>(widthBits<Number> - random() % (bits + 4));
         const Number host = rangeOf<Number>(0, length).last;
         const auto route = prefixOf(static_cast<Number>((base | random() % 256) & ~host), length);
         routes.add(route, "");
         all[route] = length;
      }
      routes.seal();
      const auto block = prefixOf(base, static_cast<U8>(widthBits<Number> - bits));
      const auto placed = routesOver<Number>(routes, block, [](const auto&, const Payload&) { return U32{0}; });
      const auto range = rangeOf<Number>(block);
      AnswerWalk<Number> walk(placed, range);
      Number at = range.first;
      bool isDone = false;
      while (const auto span = walk.next()) {
         ASSERT_FALSE(isDone);
         ASSERT_TRUE(at == span->range.first);
         for (Number address = span->range.first;; ++address) {
            int longest = -1;
            unsigned depth = 0;
            for (const auto& [route, length] : all) {
               if (covers(route, prefixOf(address, widthBits<Number>))) {
                  longest = std::max(longest, static_cast<int>(length));
                  ++depth;
               }
            }
            ASSERT_EQ(longest, span->route == nullptr ? -1 : static_cast<int>(span->route->lengthBits));
            ASSERT_EQ(depth, span->depth);
            if (address == span->range.last) {
               break;
            }
         }
         isDone = span->range.last == range.last;
         at = static_cast<Number>(span->range.last + 1);
      }
      ASSERT_TRUE(isDone);
   }
}

TEST(AnswerWalkProperty, isWhatASearchForEachAddressFinds) {
   compareWithSearches<U32>(0);
   compareWithSearches<U32>(0x0a010200);
   compareWithSearches<U32>(0xffffff00);
   compareWithSearches<U128>(0);
   compareWithSearches<U128>(U128{0x20010db8} << 96);
   compareWithSearches<U128>(~U128{0xff});
}

}  // namespace AnswerWalkTest
}  // namespace Rtrie
