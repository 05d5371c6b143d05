// SpaceMap: small tables whose maps can be checked by eye.
#include "tools/rtrie/map/SpaceMap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "Support.h"

namespace Rtrie {
namespace SpaceMapTest {

using Support::prefix;
using testing::ElementsAre;

struct Line {
   std::string route;
   std::string payload;
};
using Lines = std::vector<Line>;
struct SetOf : RouteSet {
   SetOf(std::initializer_list<Line> lines) : SetOf(Lines(lines)) {}
   explicit SetOf(const Lines& lines) {
      for (const auto& [route, payload] : lines) {
         add(prefix(route), payload);
      }
      seal();
   }
};

// "LABEL SHARE" of each class, those of the curve's cells by their numbers behind it.
std::vector<std::string> legend(const SpaceMap& map) {
   std::vector<std::string> lines;
   for (const MapClass& each : map.classes) {
      lines.push_back(fmt::format("{} {}", each.label, percentText(map.shareOf(each))));
   }
   return lines;
}
std::string cells(const SpaceMap& map) {
   std::string text;
   for (const U8 each : map.cells) {
      text += static_cast<char>('0' + each);
   }
   return text;
}

TEST(SpaceMap, byLength) {
   const SetOf routes{{"0.0.0.0/2", ""}, {"16.0.0.0/4", ""}, {"64.0.0.0/5", ""}, {"192.0.0.0/32", ""}};
   const auto map = mapByLength(routes, prefix("0.0.0.0/0"), 2);
   EXPECT_EQ("1211300000003000", [&] {
      auto text = cells(map);
      std::replace(text.begin(), text.end(), '4', '3');  // the /32 has a class of its own
      return text;
   }());
   EXPECT_THAT(legend(map), ElementsAre("no route 71.9 %", "/2 18.8 %", "/4 6.25 %", "/5 3.12 %", "/32 < 0.01 %"));
   EXPECT_EQ((Tint{Tint::Kind::scale, 3, 4}), map.classes[4].tint);
   EXPECT_EQ((Tint{}), map.classes[0].tint);
}

TEST(SpaceMap, lengthsWithLittleArePutTogether) {
   Lines lines;
   for (unsigned length = 2; length <= 32; ++length) {
      lines.push_back({prefixOf(U32{1} << (32 - length), static_cast<U8>(length)).stringValue(), ""});
   }
   const auto map = mapByLength(SetOf(lines), prefix("0.0.0.0/0"), 3);
   EXPECT_EQ(11U, map.classes.size());
   EXPECT_EQ("/2", map.classes[1].label);
   EXPECT_EQ("/11 to /32", map.classes[10].label);
}

TEST(SpaceMap, byPayload) {
   const auto routes =
      SetOf({{"10.0.0.0/9", "big"}, {"10.128.0.0/10", "<b>"}, {"10.192.0.0/11", ""}, {"11.0.0.0/8", "elsewhere"}});
   const auto map = mapByPayload(routes, prefix("10.0.0.0/8"), 2);
   EXPECT_EQ("1111111122223300", cells(map));
   EXPECT_THAT(legend(map), ElementsAre("no route 12.5 %", "big 50.0 %", "<b> 25.0 %", "no payload 12.5 %"));

   Lines many;
   for (unsigned i = 0; i < 10; ++i) {
      many.push_back({prefixOf(U32{i} << 28, 4).stringValue(), fmt::format("p{}", i)});
   }
   many[9].route = "144.0.0.0/5";
   const auto others = mapByPayload(SetOf(many), prefix("0.0.0.0/0"), 2);
   EXPECT_EQ("1234567888000000", cells(others));
   EXPECT_EQ("3 others", others.classes[8].label);
   EXPECT_EQ(Tint::Kind::plain, others.classes[8].tint.kind);
}

TEST(SpaceMap, byDifference) {
   const SetOf before{{"0.0.0.0/2", "a"}, {"64.0.0.0/4", "a"}, {"80.0.0.0/4", "a"}, {"128.0.0.0/4", "x"}};
   const SetOf after{{"80.0.0.0/4", "b"},
                     {"0.0.0.0/2", "a"},
                     {"0.0.0.0/4", "a"},
                     {"128.0.0.0/4", "x"},
                     {"255.255.255.255/32", "new"}};
   const auto map = mapByDifference(before, after, prefix("0.0.0.0/0"), 2);
   EXPECT_THAT(legend(map), ElementsAre("no route, then as now 56.2 %", "same answer 25.0 %",
                                        "a route now, none before < 0.01 %", "no route now, one before 6.25 %",
                                        "a route of another prefix 6.25 %", "another payload 6.25 %"));
   EXPECT_EQ("4111350010000002", cells(map));

   const auto same = mapByDifference(before, before, prefix("0.0.0.0/0"), 1);
   EXPECT_THAT(legend(same), ElementsAre("no route, then as now 56.2 %", "same answer 43.8 %"));
   EXPECT_EQ("1110", cells(same).substr(0, 3) + "0");
}

TEST(SpaceMap, byAge) {
   const SetOf routes{{"0.0.0.0/1", ""}};
   ChangeTimes changes;
   changes.changed(prefix("0.0.0.0/4"), 1'000'000);
   changes.changed(prefix("0.0.0.0/4"), 999'000);  // told late
   changes.changed(prefix("16.0.0.0/4"), 999'955);
   changes.changed(prefix("32.0.0.0/4"), 1'000'000 - 3600);
   changes.changed(prefix("255.0.0.0/8"), 0);
   const auto map = mapByAge(routes, changes, prefix("0.0.0.0/0"), 2);
   EXPECT_THAT(legend(map), ElementsAre("no route 49.6 %", "not changed 31.2 %", "less than 10 s 6.25 %",
                                        "30 s to 1 min 6.25 %", "1 h to 3 h 6.25 %", "1 week to 30 days 0.39 %"));
}

std::string shownOf(std::initializer_list<const char*> prefixes) {
   Lines lines;
   for (const char* each : prefixes) {
      lines.push_back({each, ""});
   }
   ShownBlock shown;
   shown.add(SetOf(lines));
   return shown.block().stringValue();
}

TEST(SpaceMap, whatIsShownUnlessTold) {
   EXPECT_EQ("0.0.0.0/0", shownOf({}));
   EXPECT_EQ("0.0.0.0/0", shownOf({"10.0.0.0/8", "2001:db8::/32"}));
   EXPECT_EQ("2001:db8::/32", shownOf({"2001:db8::/32", "::/0"}));
   EXPECT_EQ("2001:db8::/31", shownOf({"2001:db8::/48", "2001:db9::/48"}));
   EXPECT_EQ("::/0", shownOf({"::/128", "8000::/1"}));
   EXPECT_EQ("::1/128", shownOf({"::1/128"}));
   EXPECT_EQ("::/0", shownOf({"::/0"}));
   ChangeTimes changes;
   changes.changed(prefix("2001:db8::/32"), 1);
   ShownBlock shown;
   shown.add(changes);
   EXPECT_EQ("2001:db8::/32", shown.block().stringValue());
   EXPECT_EQ("0.0.0.0/0", shown.of(Corenet::AddressFamily::ipv4).stringValue());
   shown.add(SetOf{{"2001:db9::/32", ""}});
   EXPECT_EQ("2001:db8::/31", shown.of(Corenet::AddressFamily::ipv6).stringValue());
   changes.changed(prefix("10.0.0.0/8"), 1);
   shown.add(changes);
   EXPECT_EQ("0.0.0.0/0", shown.block().stringValue());
}

TEST(SpaceMap, aBlockSmallerThanItsPicture) {
   const SetOf routes{{"192.0.2.0/25", "a"}, {"192.0.2.7/32", "b"}, {"2001:db8::1/128", "c"}};
   const auto one = mapByPayload(routes, prefix("192.0.2.7/32"), 2);
   EXPECT_EQ("1111111111111111", cells(one));
   EXPECT_EQ("b", one.classes[1].label);
   EXPECT_EQ(1, one.shareOf(one.classes[1]));
   const auto two = mapByPayload(routes, prefix("192.0.2.6/31"), 1);  // two addresses: half the square each
   EXPECT_EQ("1122", cells(two));
   EXPECT_EQ("00000000", cells(mapByPayload(routes, prefix("2001:db8::2/127"), 2)).substr(0, 8));
   EXPECT_EQ("1111111111111111", cells(mapByPayload(routes, prefix("2001:db8::1/128"), 2)));
}

TEST(SpaceMap, percent) {
   EXPECT_EQ("0.0 %", percentText(0));
   EXPECT_EQ("< 0.01 %", percentText(1e-9));
   EXPECT_EQ("0.02 %", percentText(0.0002));
   EXPECT_EQ("12.3 %", percentText(0.1234));
   EXPECT_EQ("99.9 %", percentText(0.99949));
   EXPECT_EQ("> 99.9 %", percentText(0.99999));
   EXPECT_EQ("100.0 %", percentText(1));
}

}  // namespace SpaceMapTest
}  // namespace Rtrie
