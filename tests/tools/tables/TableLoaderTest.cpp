// TableLoader: the program over tables of which a part is wanted, does not count, or is no table at all.
#include "tools/tables/TableLoader.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "Support.h"
#include "tests/tools/tables/MrtBytes.h"

namespace Rtrie {
namespace TableLoaderTest {

using Json = nlohmann::json;
using Support::Ran;
using Support::rtrie;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class TableLoader : public testing::Test {
  protected:
   Ran lookup(std::string_view content, std::vector<std::string> arguments) const {
      arguments.insert(arguments.begin(), {"lookup", "--table", folder_.file("t", content)});
      return rtrie(arguments);
   }
   std::string told(const std::string& text) const { return "rtrie: " + folder_.path("t") + text + "\n"; }

   Support::Folder folder_;
};

constexpr std::string_view listing =
   "default via 192.0.2.2 dev eth0 metric 50 \n"
   "default via 192.0.2.1 dev eth0 metric 100 \n"
   "10.5.0.0/16 \n"
   "\tnexthop via 192.0.2.1 dev eth0 weight 3 \n"
   "\tnexthop via 198.51.100.1 dev eth1 weight 1 \n"
   "10.6.0.0/16 via 192.0.2.3 dev eth0 table 100 \n"
   "local 192.0.2.5 dev eth0 table local proto kernel scope host src 192.0.2.5 \n"
   "default from 2001:db8:9::/48 via 2001:db8::3 dev eth0 metric 10 pref medium\n"
   "default via 2001:db8::1 dev eth0 metric 1024 pref medium\n";

TEST_F(TableLoader, whatLostIsCountedAndShownOnRequest) {
   const Ran ran = lookup(listing, {"8.8.8.8", "2001:db8::1"});
   EXPECT_EQ(
      "8.8.8.8/32       0.0.0.0/0  via 192.0.2.2 dev eth0 metric 50\n"
      "2001:db8::1/128  ::/0       via 2001:db8::1 dev eth0 metric 1024 pref medium\n",
      ran.out);
   EXPECT_EQ(0, ran.status);
   EXPECT_EQ(
      told(
         ": 2 lines of other routing tables left out: 100 (1), local (1); --route-table takes one of them, or all") +
         told(": 1 route lost to another of the same prefix (1 of kernels and routers, by metric or selection); "
              "lookup --op exact --format json shows it") +
         told(": 1 route is dead, or for one source or type of service alone: no answer; lookup --op exact --format "
              "json shows it"),
      ran.err);

   const auto exact = Json::parse(lookup(listing, {"--op", "exact", "--format", "json", "0.0.0.0/0"}).out);
   EXPECT_EQ((Json{{"query", "0.0.0.0/0"},
                   {"answer", true},
                   {"payload", "via 192.0.2.2 dev eth0 metric 50"},
                   {"candidates",
                    {{{"payload", "via 192.0.2.2 dev eth0 metric 50"},
                      {"table", "main"},
                      {"metric", 50},
                      {"chosen", true},
                      {"answers", true}},
                     {{"payload", "via 192.0.2.1 dev eth0 metric 100"},
                      {"table", "main"},
                      {"metric", 100},
                      {"chosen", false},
                      {"answers", true}}}}}),
             exact);
   const auto exact6 = Json::parse(lookup(listing, {"--op", "exact", "--format", "json", "::/0"}).out);
   ASSERT_EQ(2U, exact6["candidates"].size());
   EXPECT_EQ(false, exact6["candidates"][1]["answers"]);
}

TEST_F(TableLoader, nextHopsInTextAndJson) {
   EXPECT_EQ(
      "10.5.1.1/32  10.5.0.0/16  nexthop via 192.0.2.1 dev eth0 weight 3 nexthop via 198.51.100.1 dev eth1 weight "
      "1\n",
      lookup(listing, {"10.5.1.1"}).out);
   const auto json = Json::parse(lookup(listing, {"--format", "json", "10.5.1.1"}).out);
   EXPECT_EQ((Json{{{"gateway", "192.0.2.1"}, {"dev", "eth0"}, {"weight", 3}, {"flags", Json::array()}},
                   {{"gateway", "198.51.100.1"}, {"dev", "eth1"}, {"weight", 1}, {"flags", Json::array()}}}),
             json["nexthops"]);
   // What walk prints is a table again.
   const auto walked = rtrie({"walk", "--table", folder_.path("t"), "10.0.0.0/8"}).out;
   EXPECT_EQ(json, Json::parse(lookup(walked, {"--format", "json", "10.5.1.1"}).out));
}

TEST_F(TableLoader, aRoutingTableByNameOrId) {
   EXPECT_EQ("10.6.0.1/32\t10.6.0.0/16\n",
             lookup(listing, {"--format", "tsv", "--route-table", "100", "10.6.0.1"}).out);
   EXPECT_EQ("192.0.2.5/32\t192.0.2.5/32\n",
             lookup(listing, {"--format", "tsv", "--route-table", "local", "192.0.2.5"}).out);
   EXPECT_EQ("10.6.0.1/32\t10.6.0.0/16\n192.0.2.5/32\t192.0.2.5/32\n",
             lookup(listing, {"--format", "tsv", "--route-table", "all", "10.6.0.1", "192.0.2.5"}).out);
   const Ran none = lookup(listing, {"--route-table", "7", "10.6.0.1"});
   EXPECT_THAT(none.err, HasSubstr(": 7 lines of other routing tables left out: 100 (1), local (1), main (5)"));
   EXPECT_THAT(none.err, EndsWith("t: the table has no routes\n"));
   EXPECT_EQ(told(": --route-table is for what ip route, FRR and BIRD print or a kernel has, and this is not"),
             lookup("10.0.0.0/8\n", {"--route-table", "main", "10.0.0.1"}).err);
}

constexpr std::string_view dump =
   "TABLE_DUMP2|1|B|192.0.2.1|65000|10.0.0.0/8|65000 1 2|IGP|192.0.2.1|0|0||NAG||\n"
   "TABLE_DUMP2|1|B|192.0.2.2|65009|10.0.0.0/8|65009 2|IGP|192.0.2.2|0|0||NAG||\n";

TEST_F(TableLoader, peers) {
   const Ran ran = lookup(dump, {"10.0.0.1"});
   EXPECT_EQ("10.0.0.1/32  10.0.0.0/8  65009 2\n", ran.out);
   EXPECT_EQ(told(": 1 route lost to another of the same prefix (1 of BGP peers, by the shortest AS path); lookup "
                  "--op exact --format json shows it"),
             ran.err);
   const Ran one = lookup(dump, {"--peer", "192.0.2.1", "10.0.0.1"});
   EXPECT_EQ("10.0.0.1/32  10.0.0.0/8  65000 1 2\n", one.out);
   EXPECT_EQ(told(": 1 line of other peers left out: 192.0.2.2 65009 (1)"), one.err);
   const auto json = Json::parse(lookup(dump, {"--op", "exact", "--format", "json", "10.0.0.0/8"}).out);
   EXPECT_EQ(
      (Json{{{"payload", "65009 2"}, {"peer", "192.0.2.2"}, {"as", 65009}, {"chosen", true}, {"answers", true}},
            {{"payload", "65000 1 2"}, {"peer", "192.0.2.1"}, {"as", 65000}, {"chosen", false}, {"answers", true}}}),
      json["candidates"]);
   EXPECT_EQ(2, lookup(dump, {"--peer", "rrc00", "10.0.0.1"}).status);
   EXPECT_EQ(told(": --peer is for MRT and lines of bgpdump -m, and this is neither"),
             lookup("10.0.0.0/8\n", {"--peer", "1", "10.0.0.1"}).err);
}

TEST_F(TableLoader, duplicatesOfAListAreCountedAndTheLastLineCounts) {
   const Ran ran =
      lookup("10.0.0.0/8 a\n10.0.0.0/8 b\n10.0.0.0/8 c\n", {"--op", "exact", "--format", "json", "10.0.0.0/8"});
   EXPECT_EQ(told(": 2 routes lost to another of the same prefix (2 in lists, by the last line); lookup --op exact "
                  "--format json shows them"),
             ran.err);
   const auto json = Json::parse(ran.out);
   EXPECT_EQ("c", json["payload"]);
   ASSERT_EQ(3U, json["candidates"].size());
   EXPECT_EQ("b", json["candidates"][1]["payload"]);
   EXPECT_EQ(
      Json::array(),
      Json::parse(lookup("10.0.0.0/8\n", {"--op", "exact", "--format", "json", "11.0.0.0/8"}).out)["candidates"]);
}

TEST_F(TableLoader, everyCompression) {
   for (const auto packed : {Support::gz, Support::bz2, Support::xz, Support::zst}) {
      EXPECT_EQ("10.0.0.1/32  10.0.0.0/8  a\n", lookup(packed("10.0.0.0/8 a\n"), {"10.0.0.1"}).out);
   }
}

TEST_F(TableLoader, whatIsNoTextIsNamed) {
   const Ran zeros = rtrie({"lookup", "--table", "/dev/zero", "10.0.0.1"});
   EXPECT_EQ("rtrie: /dev/zero: is no text: it holds bytes of 0\n", zeros.err);
   EXPECT_EQ(3, zeros.status);
}

TEST_F(TableLoader, mrtInEveryCompression) {
   using namespace Mrt;
   const std::string index = peerIndex({{"192.0.2.1", 65000}, {"192.0.2.2", 65009}});
   const std::string mrt =
      index +
      rib(2, "10.0.0.0/8", {entry(0, path({65000, 1, 2}) + nextHop("192.0.2.9")), entry(1, path({65009, 2}))}) +
      rib(3, "11.0.0.0/8", {entry(0, path({65000}))}) + record(99, 0, "what") +
      message({"192.0.2.1", 65000}, update("", path({65000}), nlri("12.1.0.0/15")));
   const auto unknown = fmt::format(": record 4 at byte {}: unknown kind: type 99, subtype 0", mrt.find("what") - 12);
   for (const auto packed : {Support::gz, Support::bz2, Support::xz, Support::zst}) {
      const Ran ran = lookup(packed(mrt), {"--format", "tsv-payload", "10.0.0.1", "12.0.0.1"});
      EXPECT_EQ(
         "10.0.0.1/32\t10.0.0.0/8\tpeer 192.0.2.2 as 65009 path 65009 2\n12.0.0.1/32\t12.0.0.0/15\tpeer 192.0.2.1 as "
         "65000 path 65000\n",
         ran.out);
      EXPECT_EQ(told(unknown) + told(": 1 bad record left out of 5") +
                   told(": left out what is no unicast route of a peer: IPv4 multicast (1)") +
                   told(": 1 prefix with bits past the length, which were cleared") +
                   told(": 1 route lost to another of the same prefix (1 of BGP peers, by the shortest AS path); "
                        "lookup --op exact --format json shows it"),
                ran.err);
      EXPECT_EQ(1, ran.status);
      // Cut, and what was there is read.
      const auto part = packed(mrt);
      const Ran cut = lookup(part.substr(0, part.size() - 1), {"--format", "tsv", "10.0.0.1"});
      EXPECT_THAT(cut.err, HasSubstr("truncated"));
      EXPECT_EQ(1, cut.status);
   }
   const Ran one = lookup(mrt, {"--peer", "65000", "10.0.0.1"});
   EXPECT_EQ("10.0.0.1/32  10.0.0.0/8  peer 192.0.2.1 as 65000 via 192.0.2.9 path 65000 1 2\n", one.out);
   EXPECT_THAT(one.err, HasSubstr(told(": 1 route of other peers left out: 192.0.2.2 65009 (1)")));
   const Ran strict = lookup(mrt, {"--strict", "10.0.0.1"});
   EXPECT_EQ(told(unknown), strict.err);
   EXPECT_EQ(3, strict.status);
   EXPECT_EQ("10.0.0.0/8\n12.0.0.0/15\n",
             rtrie({"walk", "--table", folder_.file("t", mrt), "--peer", "all", "--format", "tsv"}).out);
}

TEST_F(TableLoader, bombsOfMrtEndInTime) {
   using namespace Mrt;
   const std::string noPeers = record(13, 1, u32(0) + u16(0) + u16(0));
   std::string bad = noPeers;
   while (bad.size() < 4'000'000) {
      bad += record(16, 4, std::string(40, 'x'));
   }
   const Ran ran = lookup(Support::gz(bad), {"10.0.0.1"});
   EXPECT_EQ(3, ran.status);
   EXPECT_THAT(ran.err, HasSubstr("a peer of the unknown address family 30840"));
   EXPECT_LT(ran.peakBytes, 500'000'000U);
   const Ran garbage = lookup(Support::gz(noPeers + std::string(70'000'000, 'x')), {"10.0.0.1"});
   EXPECT_THAT(garbage.err, HasSubstr("no record within 67,108,864 bytes: this is no MRT"));
   EXPECT_EQ(3, garbage.status);
}

TEST_F(TableLoader, aLineThatIsTooLongIsToldAndTheRestLoads) {
   const std::string text = "10.0.0.0/8 a\n" + std::string(20'000'000, 'x') + "\n11.0.0.0/8 b\n";
   const Ran ran = lookup(Support::gz(text), {"--format", "tsv", "10.0.0.1", "11.0.0.1"});
   EXPECT_EQ("10.0.0.1/32\t10.0.0.0/8\n11.0.0.1/32\t11.0.0.0/8\n", ran.out);
   EXPECT_THAT(ran.err, StartsWith(told(":2: line longer than 65536 bytes")));
   EXPECT_EQ(1, ran.status);
}

TEST_F(TableLoader, anEndlessQueryOrUpdateIsToldToo) {
   const auto table = folder_.file("t", "10.0.0.0/8\n");
   const std::string input = "10.0.0.1\n" + std::string(1'000'000, '1') + "\n10.0.0.2\n";
   const Ran queries = rtrie({"lookup", "--table", table, "--format", "tsv"}, input);
   EXPECT_EQ("10.0.0.1/32\t10.0.0.0/8\n10.0.0.2/32\t10.0.0.0/8\n", queries.out);
   EXPECT_EQ("rtrie: <stdin>:2: line longer than 65536 bytes\n", queries.err);
   EXPECT_EQ(1, queries.status);
   const Ran updates = rtrie({"watch", "--table", table}, std::string(1'000'000, '+') + "\n+ 11.0.0.0/8\n");
   EXPECT_THAT(updates.out, HasSubstr("11.0.0.0/8"));
   EXPECT_EQ("rtrie: <stdin>:1: line longer than 65536 bytes\n", updates.err);
}

}  // namespace TableLoaderTest
}  // namespace Rtrie
