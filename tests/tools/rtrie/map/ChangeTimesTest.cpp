// ChangeTimes: update streams with times, as files have them.
#include "tools/rtrie/map/ChangeTimes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "../../tables/MrtBytes.h"
#include "Support.h"

namespace Rtrie {
namespace ChangeTimesTest {

using Support::prefix;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

class TextSource final : public ByteSource {
  public:
   explicit TextSource(std::string text) : text_(std::move(text)) {}
   std::size_t read(char* to, std::size_t room) override {
      const std::size_t size = std::min(room, text_.size() - at_);
      text_.copy(to, size, at_);
      at_ += size;
      return size;
   }

  private:
   std::string text_;
   std::size_t at_ = 0;
};

struct Read {
   bool isStream = false;
   std::vector<std::string> changes;  // "PREFIX SECONDS"
   std::vector<std::string> faults;
   std::vector<std::string> routes;
};
Read readOf(const std::string& text) {
   PeekedSource source(std::make_unique<TextSource>(text));
   Read read;
   read.isStream = holdsChanges(source);
   ChangeTimes changes;
   RouteSet routes;
   readChanges(source, {}, changes, routes, [&](const std::string& what) { read.faults.push_back(what); });
   changes.forEach([&](const auto& each, std::int64_t seconds) {
      read.changes.push_back(fmt::format("{} {}", each.stringValue(), seconds));
   });
   read.routes = Support::textOf(routes);
   return read;
}

TEST(ChangeTimes, ofLinesWithTimes) {
   const Read read = readOf(
      "# recorded\n\n"
      "1700000000 a 10.0.0.0/8 via 192.0.2.1\n"
      "1700000007.25 w 10.0.0.0/8\n"
      "1700000005 a 2001:db8::/32\n"
      "1700000006 a 10.0.0.0/33\n"
      "+ 10.9.0.0/16 has no time of its own\n"
      "nonsense\n");
   EXPECT_TRUE(read.isStream);
   EXPECT_THAT(read.changes,
               UnorderedElementsAre("10.0.0.0/8 1700000007", "2001:db8::/32 1700000005", "10.9.0.0/16 1700000006"));
   EXPECT_THAT(read.faults, ElementsAre(HasSubstr("line 6: prefix length 33"), HasSubstr("line 8: not an update")));
}

TEST(ChangeTimes, aTimeIsWanted) {
   const Read read = readOf("+ 10.9.0.0/16\n5 a 10.8.0.0/16\n");
   EXPECT_THAT(read.faults, ElementsAre("line 1: an update without a time: 10.9.0.0/16"));
   EXPECT_THAT(read.changes, ElementsAre("10.8.0.0/16 5"));
   EXPECT_FALSE(readOf("+ 10.9.0.0/16\n10.0.0.0/8 a\n-5 a 10.0.0.0/8\n5x a 10.0.0.0/8\n192.0.2.1 a b\n. a "
                       "10.0.0.0/8\n99999999999999999999 a 10.0.0.0/8\n")
                   .isStream);
   EXPECT_FALSE(readOf("").isStream);
}

TEST(ChangeTimes, ofIpMonitor) {
   const Read read = readOf(
      "Timestamp: Sun Nov 22 07:40:00 2026 123456 usec\n"
      "10.1.0.0/16 dev eth0 proto static\n"
      "\tnexthop via 192.0.2.7 dev eth0 weight 1\n"
      "Timestamp: Sun Nov 22 07:40:05 2026 123456 usec\n"
      "Deleted 10.2.0.0/16 via 192.0.2.7 dev eth0\n"
      "[2026-11-22T07:41:00.000001] [ROUTE]10.3.0.0/16 dev eth1\n"
      "[2026-11-22T07:42:00.000001] 10.4.0.0/16 dev eth1\n");
   EXPECT_TRUE(read.isStream);
   EXPECT_THAT(read.faults, ElementsAre());
   EXPECT_THAT(read.changes, UnorderedElementsAre("10.1.0.0/16 1795333200", "10.2.0.0/16 1795333205",
                                                  "10.3.0.0/16 1795333260", "10.4.0.0/16 1795333320"));
}

// The end of a session changes what its peer has announced, and nothing of another.
TEST(ChangeTimes, ofMrtUpdates) {
   const Mrt::Peer one = {"192.0.2.1", 65001};
   const Mrt::Peer ten = {"192.0.2.1", 650010};
   const auto attributes = Mrt::path({65001}) + Mrt::nextHop("192.0.2.1");
   const auto at = [](std::uint32_t seconds, std::string record) { return Mrt::u32(seconds) + record.substr(4); };
   const auto announce = [&](const Mrt::Peer& peer, std::string_view route) {
      return Mrt::message(peer, Mrt::update("", attributes, Mrt::nlri(route)));
   };
   const auto ends =
      Mrt::record(16, 5,
                  Mrt::u32(one.as) + Mrt::u32(64512) + Mrt::u16(0) + Mrt::u16(1) + Mrt::address(one.address) +
                     Mrt::address("192.0.2.254") + Mrt::u16(6) + Mrt::u16(1));
   const Read read = readOf(Mrt::peerIndex({one}) + Mrt::rib(2, "10.0.0.0/8", {Mrt::entry(0, attributes)}) +
                            at(100, announce(one, "10.1.0.0/16")) + at(101, announce(ten, "10.2.0.0/16")) +
                            at(102, announce(one, "10.3.0.0/16")) +
                            at(103, Mrt::message(one, Mrt::update(Mrt::nlri("10.1.0.0/16"), "", ""))) +
                            at(200, ends) + at(300, announce(one, "10.4.0.0/16")));
   EXPECT_TRUE(read.isStream);
   EXPECT_THAT(read.faults, ElementsAre());
   EXPECT_THAT(read.changes,
               UnorderedElementsAre("10.1.0.0/16 103", "10.2.0.0/16 101", "10.3.0.0/16 200", "10.4.0.0/16 300"));
   EXPECT_THAT(read.routes, ElementsAre(HasSubstr("10.0.0.0/8 peer 192.0.2.1")));
}

TEST(ChangeTimes, theLastChangeIsKept) {
   ChangeTimes changes;
   EXPECT_TRUE(changes.empty());
   changes.changed(prefix("10.0.0.0/8"), 7);
   changes.changed(prefix("10.0.0.0/8"), 3);
   changes.changed(prefix("10.0.0.0/16"), 9);
   EXPECT_EQ(7, changes.secondsOf(prefix("10.0.0.0/8")));
   EXPECT_EQ(std::nullopt, changes.secondsOf(prefix("11.0.0.0/8")));
   EXPECT_EQ(9, changes.lastSeconds());
   EXPECT_EQ(2U, changes.prefixes());
}

}  // namespace ChangeTimesTest
}  // namespace Rtrie
