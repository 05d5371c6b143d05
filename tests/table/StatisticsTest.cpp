#include "routetrie/statistics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>

#include "routetrie/route_set.h"
#include "routetrie/table.h"

namespace routetrie {
namespace StatisticsTest {

using namespace literals;

std::size_t bytesOf(const table_statistics& s) {
   std::size_t sum = 0;
   for (const table_level& level : s.levels) {
      sum += level.bytes();
   }
   return sum;
}

TEST(Statistics, ofAnEmptyTable) {
   const table4<int> t;
   const table_statistics s = t.statistics();
   EXPECT_EQ(0u, s.routes);
   EXPECT_TRUE(s.levels.empty());
   EXPECT_EQ(0u, s.nodes());
   EXPECT_EQ(0.0, s.average_depth());
   EXPECT_EQ(0u, s.worst_depth);
   EXPECT_EQ(t.memory().total(), s.memory.total());
}

TEST(Statistics, theDefaultRouteIsInNoNode) {
   table6<int> t{{"::/0"_prefix, 1}};
   EXPECT_EQ(1u, t.statistics().routes);
   EXPECT_EQ(0u, t.statistics().worst_depth);
   EXPECT_EQ(0.0, t.statistics().average_depth());
}

// The root, a node of one route and one child, and that child; a leaf, since its route lies more than twelve bits below the root.
TEST(Statistics, levelByLevel) {
   const table4<int> t{
      {"10.0.0.0/8"_prefix, 1}, {"10.16.0.0/12"_prefix, 2}, {"10.16.0.0/13"_prefix, 3}, {"192.0.2.0/24"_prefix, 4}};
   const table_statistics s = t.statistics();
   ASSERT_EQ(3u, s.levels.size()) << s;
   EXPECT_EQ(0u, s.levels[0].depth);
   EXPECT_EQ(1u, s.levels[0].nodes);
   EXPECT_EQ(0u, s.levels[0].routes);
   EXPECT_EQ(32u, s.levels[0].bytes());
   EXPECT_EQ(32u, s.levels[0].node_bytes);
   EXPECT_EQ(6u, s.levels[1].depth);
   EXPECT_EQ(1u, s.levels[1].nodes);
   EXPECT_EQ(1u, s.levels[1].leaves);
   EXPECT_EQ(3u, s.levels[1].routes);
   EXPECT_GE(s.levels[1].node_bytes, 32u);
   EXPECT_EQ(32u, s.levels[1].leaf_bytes);
   EXPECT_EQ(0u, s.levels[1].skip_bytes);
   EXPECT_EQ(s.levels[1].bytes(), s.levels[1].node_bytes + s.levels[1].leaf_bytes);
   EXPECT_EQ(12u, s.levels[2].depth);
   EXPECT_EQ(1u, s.levels[2].routes);
   EXPECT_EQ(4u, s.nodes());
   EXPECT_EQ(3u, s.worst_depth);
   EXPECT_DOUBLE_EQ((2 + 2 + 2 + 3) / 4.0, s.average_depth());
}

TEST(Statistics, aSkipIsALevelOfItsOwn) {
   const table6<int> t{{"2001:db8::/62"_prefix, 1}, {"2001:db8:0:4::/62"_prefix, 2}};
   const table_statistics s = t.statistics();
   ASSERT_EQ(3u, s.levels.size()) << s;
   EXPECT_EQ(1u, s.levels[1].skips);
   EXPECT_EQ(32u, s.levels[1].skip_bytes);
   EXPECT_EQ(32u, s.levels[1].bytes());
   EXPECT_EQ(0u, s.levels[1].routes);
   EXPECT_EQ(2u, s.levels[2].routes);
   EXPECT_EQ(3u, s.worst_depth);
}

TEST(Statistics, printsItself) {
   const table4<int> t{{"10.0.0.0/8"_prefix, 1}, {"192.0.2.0/24"_prefix, 4}};
   std::ostringstream out;
   out << t.statistics();
   EXPECT_EQ(out.str(), fmt::format("{}", t.statistics()));
   EXPECT_THAT(out.str(), testing::StartsWith(
                             "routes 2, 2.00 nodes deep on average, 2 at most\n"
                             "  bit      nodes       bytes     leaves       bytes      skips       bytes     "
                             "routes\n"
                             "    0          1          32          0           0          0           0          "
                             "0\n"
                             "    6          1          "));
   EXPECT_THAT(out.str(), testing::HasSubstr(fmt::format("bytes {}: nodes ", t.memory().total())));
}

// With a snapshot, what it alone keeps is among the bytes, and they still add up to what is told.
TEST(Statistics, whatSnapshotsKeepIsOld) {
   table4<int> t{{"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 2}};
   const auto before = t.snapshot();
   t.erase("10.1.0.0/16"_prefix);
   const table_memory memory = t.statistics().memory;
   EXPECT_GT(memory.old, 0u);
   EXPECT_THAT(fmt::format("{}", t.statistics()),
               testing::EndsWith(fmt::format("bytes {}: nodes {}, values 0, index 0, free {}, old {}\n",
                                             memory.total(), memory.nodes, memory.free, memory.old)));
}

// Places for values that no value has are free, the ones never filled and the ones given back; clear() gives them back to the heap.
TEST(Statistics, placesWithoutAValueAreFree) {
   table4<std::string> t;
   const auto p = [](unsigned i) { return host_prefix(address4(i << 8)); };
   t.try_emplace(p(0), "one");
   const std::size_t aPlace = t.memory().values;
   EXPECT_GE(t.memory().free, 7 * sizeof(std::string)) << "the first eight places come at once";
   for (unsigned i = 0; i < 10'000; ++i) {
      t.try_emplace(p(i), "a value");
   }
   const table_memory full = t.memory();
   EXPECT_GE(full.values, 10'000 * sizeof(std::string));
   EXPECT_LE(full.values, 10'000 * sizeof(std::string) + 8192);
   for (unsigned i = 1; i < 10'000; ++i) {
      t.erase(p(i));
   }
   EXPECT_LE(t.memory().values, aPlace + 8192) << "the directory and a bit for each place";
   EXPECT_GE(t.memory().free, 9'999 * sizeof(std::string));
   const table4<std::string> copy(t);
   EXPECT_EQ(t.memory().values, copy.memory().values);
   {
      // What a snapshot keeps is old, and neither free nor a value of the table.
      const auto snapshot = t.snapshot();
      t.insert_or_assign(p(0), "another");
      EXPECT_GE(t.memory().old, sizeof(std::string));
      const table4<std::string> beside(t);
      EXPECT_LE(beside.memory().values, copy.memory().values);
   }
   t.clear();
   EXPECT_LE(t.memory().total(), 600u);
   EXPECT_EQ(0u, t.memory().values);
}

// A snapshot tells what it is made of, whatever has become of the table.
TEST(Statistics, ofASnapshot) {
   table<int> t{{"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 2}, {"2001:db8::/32"_prefix, 3}};
   const both_statistics before = t.statistics();
   const auto snapshot = t.snapshot();
   t.clear();
   const both_statistics s = snapshot.statistics();
   EXPECT_EQ(before.v4.levels, s.v4.levels);
   EXPECT_EQ(before.v6.levels, s.v6.levels);
   EXPECT_EQ(2u, s.v4.routes);
   EXPECT_EQ(before.v4.average_depth(), s.v4.average_depth());
   EXPECT_EQ(before.v4.worst_depth, s.v4.worst_depth);
   EXPECT_EQ(bytesOf(s.v4), s.v4.memory.total()) << "its nodes, and nothing that is the table's";
   EXPECT_EQ(0u, snapshot4<int>().statistics().memory.total());
   EXPECT_EQ(s.v4.levels, snapshot.v4().statistics().levels);
}

//--- how much memory a table may take ---

template <class Table>
std::size_t allOf(const Table& t) {
   return sizeof t + t.memory().total();
}
template <class Table>
void add(Table& t, const typename Table::prefix_type& p) {
   if constexpr (Table::has_values) {
      t.try_emplace(p);
   } else {
      t.insert(p);
   }
}
// A router has thousands of tables with next to nothing in them.
template <class... Tables>
void smallOnesAreSmall(std::type_identity<Tables>...) {
   const auto each = [&]<class Table>(std::type_identity<Table>) {
      SCOPED_TRACE(testing::internal::GetTypeName<Table>());
      Table t;
      EXPECT_LE(allOf(t), 256u);
      for (unsigned i = 0; i < 10; ++i) {
         if constexpr (std::is_same_v<typename Table::prefix_type, prefix6>) {
            add(t, make_prefix(to_address6(0x2001'0db8'0000'0000 + (std::uint64_t{i} << 32), i), 128));
         } else {
            add(t, make_prefix(address4(0x0a000000 + (i << 20) + i), 32));
         }
      }
      EXPECT_EQ(10u, t.size());
      EXPECT_LE(allOf(t), 2048u);
      t.clear();
      EXPECT_LE(allOf(t), 1024u);
   };
   (each(std::type_identity<Tables>()), ...);
}
TEST(TableSize, smallOnesAreSmall) {
   smallOnesAreSmall(std::type_identity<table<int>>(), std::type_identity<table<std::string>>(),
                     std::type_identity<route_set>(), std::type_identity<table4<int>>(),
                     std::type_identity<table4<std::string>>(), std::type_identity<table4<std::uint64_t>>(),
                     std::type_identity<table6<int>>(), std::type_identity<table6<std::string>>(),
                     std::type_identity<table6<std::uint64_t>>(), std::type_identity<route_set4>(),
                     std::type_identity<route_set6>());
}

// Addresses without any order have nothing in common that nodes could share.
template <class Table>
double bytesOfRandomHosts(bool isSix) {
   std::mt19937_64 random(5);
   Table t;
   while (t.size() < 100'000) {
      if constexpr (std::is_same_v<typename Table::prefix_type, prefix6>) {
         add(t, host_prefix(to_address6(random(), random())));
      } else if constexpr (std::is_same_v<typename Table::prefix_type, prefix4>) {
         add(t, host_prefix(address4(static_cast<std::uint32_t>(random()))));
      } else {
         add(t, isSix ? prefix(host_prefix(to_address6(random(), random())))
                      : prefix(host_prefix(address4(static_cast<std::uint32_t>(random())))));
      }
   }
   return static_cast<double>(allOf(t)) / static_cast<double>(t.size());
}
TEST(TableSize, randomHostsHaveNoShapeThatExplodes) {
   EXPECT_LE(bytesOfRandomHosts<table4<int>>(false), 100);
   EXPECT_LE(bytesOfRandomHosts<table4<std::uint64_t>>(false), 100);
   EXPECT_LE(bytesOfRandomHosts<route_set4>(false), 100);
   EXPECT_LE(bytesOfRandomHosts<table<int>>(false), 100);
   EXPECT_LE(bytesOfRandomHosts<table6<int>>(true), 150);
   EXPECT_LE(bytesOfRandomHosts<table6<std::uint64_t>>(true), 150);
   EXPECT_LE(bytesOfRandomHosts<route_set6>(true), 150);
   EXPECT_LE(bytesOfRandomHosts<table<int>>(true), 150);
   EXPECT_LE(bytesOfRandomHosts<route_set>(true), 150);
}

TEST(Statistics, ofBothFamilies) {
   table<std::string> t;
   t.insert({"10.0.0.0/8"_prefix, "four"});
   t.insert({"2001:db8::/32"_prefix, "six"});
   t.insert({"2001:db8::/48"_prefix, "longer"});
   const both_statistics s = t.statistics();
   EXPECT_EQ(1u, s.v4.routes);
   EXPECT_EQ(2u, s.v6.routes);
   EXPECT_EQ(t.memory().total(), s.v4.memory.total() + s.v6.memory.total());
   EXPECT_GT(s.v4.memory.values, 0u);
}

// What the drawing of the tree shows, counted line by line.
template <class Table>
void asTheDrawingShows(unsigned seed, unsigned routes) {
   SCOPED_TRACE("seed " + std::to_string(seed));
   using P = typename Table::prefix_type;
   using Word = typename P::Bits::Word;
   std::mt19937_64 random(seed);
   Table t;
   for (unsigned i = 0; i < routes; ++i) {
      const unsigned length = static_cast<unsigned>(random() % (P::width + 1));
      const Word near =
         static_cast<Word>(Word(random() % 64) << (P::width - 8) | Word(random() % 4096) << (P::width - 28));
      t.insert_or_assign(
         P::cut(typename P::Bits(random() % 3 == 0 ? static_cast<Word>(random() | Word(near)) : near), length), i);
   }
   const table_statistics s = t.statistics();
   ASSERT_EQ("", t.audit());
   std::size_t nodes = 0;
   std::size_t leaves = 0;
   std::size_t skips = 0;
   std::istringstream drawing(t.dump());
   for (std::string line; std::getline(drawing, line);) {
      nodes += line.find(" node:") != std::string::npos;
      leaves += line.ends_with(" leaf");
      skips += line.ends_with(" skip");
   }
   std::size_t found[4] = {};
   for (const table_level& level : s.levels) {
      found[0] += level.nodes;
      found[1] += level.leaves;
      found[2] += level.skips;
      found[3] += level.routes;
   }
   EXPECT_EQ(nodes, found[0]);
   EXPECT_EQ(leaves, found[1]);
   EXPECT_EQ(skips, found[2]);
   EXPECT_EQ(t.size(), found[3] + (t.contains(P()) ? 1 : 0));
   EXPECT_EQ(t.size(), s.routes);
   EXPECT_GE(s.worst_depth, s.average_depth());
   // But for what the tree takes besides, with or without an index.
   Table one;
   one.insert({P(), 0});
   one.insert({P::cut(typename P::Bits(0), 1), 0});
   const std::size_t besides = one.memory().nodes - bytesOf(one.statistics());
   EXPECT_LE(besides, t.memory().nodes - bytesOf(s));
   EXPECT_GE(besides + 128, t.memory().nodes - bytesOf(s));
}

TEST(Statistics, asTheDrawingShows) {
   for (unsigned seed = 1; seed <= 6; ++seed) {
      asTheDrawingShows<table4<unsigned>>(seed, 5u << (2 * seed));
      asTheDrawingShows<table6<unsigned>>(seed, 5u << (2 * seed));
      asTheDrawingShows<table6<std::uint64_t>>(seed, 300);
   }
}

}  // namespace StatisticsTest
}  // namespace routetrie
