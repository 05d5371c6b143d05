#include "routetrie/table/Tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "routetrie/prefix.h"

namespace routetrie::Impl {

// Reaches into a tree to break its invariants.
struct TreeFault {
   template <unsigned width>
   static Node& root(Tree<width>& tree) {
      return tree.node(tree.root_);
   }
   template <unsigned width>
   static Node& child(Tree<width>& tree, const Node& n, unsigned rank) {
      return tree.node(n.numbers()[rank]);
   }
   template <unsigned width>
   static U32 number(const Tree<width>& tree, const Node& n) {
      return static_cast<U32>(&n - tree.nodes());
   }
   template <unsigned width>
   static Node& target(Tree<width>& tree, const Node& skip) {
      return tree.node(skip.target());
   }
   template <unsigned width>
   static void miscount(Tree<width>& tree) {
      ++tree.size_;
   }
   template <unsigned width>
   static void sizeIs(Tree<width>& tree, std::size_t size) {
      tree.size_ = size;
   }
   template <unsigned width>
   static void miscountPages(Tree<width>& tree) {
      ++tree.pages_;
   }
   template <unsigned width>
   static U32& slot(Tree<width>& tree, Corenet::AddressBits<width> bits) {
      return *tree.slotOf(bits);
   }
   template <unsigned width>
   static bool hasIndex(const Tree<width>& tree) {
      return tree.index_ != 0;
   }
   template <unsigned width>
   static void buildIndex(Tree<width>& tree) {
      tree.buildIndex();
   }
};

namespace TreeTest {

using testing::HasSubstr;

prefix4 p4(const char* text) { return prefix4::fromString(text); }
prefix6 p6(const char* text) { return prefix6::fromString(text); }

template <class Prefix>
constexpr unsigned widthOf = std::is_same_v<Prefix, prefix4> ? 32 : 128;

template <unsigned width>
bool add(Tree<width>& tree, Corenet::AddressBits<width> bits, unsigned length, U64 value = 0) {
   return tree
      .insert(
         bits, length, [](void* context, void* place) { std::memcpy(place, context, 8); }, &value)
      .created;
}
template <unsigned width, class... Prefix>
void put(Tree<width>& tree, const Prefix&... prefixes) {
   U64 value = 0;
   (add(tree, prefixes.bits(), prefixes.len(), ++value), ...);
}
template <unsigned width, class Prefix>
bool drop(Tree<width>& tree, const Prefix& prefix) {
   return tree.erase(prefix.bits(), prefix.len(), nullptr);
}
template <unsigned width>
std::string drawing(const Tree<width>& tree) {
   EXPECT_EQ("", tree.audit());
   std::string text = "\n";
   tree.dump(text);
   return text;
}
template <class Prefix>
unsigned matchLength(const Tree<widthOf<Prefix>>& tree, const Prefix& prefix) {
   const auto best = tree.match(prefix.bits(), prefix.len());
   return best.value != nullptr ? best.length : 999;
}

TEST(Tree, anEmptyOneHoldsNothing) {
   Tree<32> tree(4);
   EXPECT_EQ("\n", drawing(tree));
   EXPECT_EQ(0u, tree.memory().total());
   EXPECT_EQ(nullptr, tree.lookup<4>(p4("10.0.0.1/32").bits()));
   EXPECT_EQ(nullptr, tree.find({}, 0));
   EXPECT_EQ(nullptr, tree.match({}, 32).value);
   EXPECT_FALSE(tree.hasLonger({}, 0));
   Tree<32>::Cursor cursor;
   EXPECT_FALSE(tree.first(cursor));
   EXPECT_FALSE(tree.last(cursor));
   EXPECT_FALSE(tree.erase({}, 0, nullptr));
   EXPECT_FALSE(tree.erase({}, 32, nullptr));
   EXPECT_LE(sizeof tree, 128u);
}

TEST(Tree, drawsEachShape) {
   Tree<32> tree(4);
   put(tree, p4("0.0.0.0/0"));
   EXPECT_EQ(R"(
default route
)",
             drawing(tree));
   put(tree, p4("10.0.0.0/8"), p4("10.64.0.0/10"));
   EXPECT_EQ(R"(
default route
0.0.0.0/0 node:
   8.0.0.0/6 node: 10.0.0.0/8 10.64.0.0/10
)",
             drawing(tree));
   put(tree, p4("200.1.2.0/24"));
   EXPECT_EQ(R"(
default route
0.0.0.0/0 node:
   8.0.0.0/6 node: 10.0.0.0/8 10.64.0.0/10
   200.1.2.0/24 leaf
)",
             drawing(tree));
   put(tree, p4("200.1.3.0/24"));
   EXPECT_EQ(R"(
default route
0.0.0.0/0 node:
   8.0.0.0/6 node: 10.0.0.0/8 10.64.0.0/10
   200.1.0.0/18 skip
      200.1.0.0/18 node: 200.1.2.0/24 200.1.3.0/24
)",
             drawing(tree))
      << "two that part below 18 bits";
   put(tree, p4("200.1.128.0/24"));
   EXPECT_EQ(R"(
default route
0.0.0.0/0 node:
   8.0.0.0/6 node: 10.0.0.0/8 10.64.0.0/10
   200.0.0.0/6 node:
      200.0.0.0/12 node:
         200.1.0.0/18 node: 200.1.2.0/24 200.1.3.0/24
         200.1.128.0/18 node: 200.1.128.0/24
)",
             drawing(tree))
      << "one stride is left as it is";
   EXPECT_TRUE(drop(tree, p4("200.1.128.0/24")));
   EXPECT_TRUE(drop(tree, p4("200.1.3.0/24")));
   EXPECT_TRUE(drop(tree, p4("10.0.0.0/8")));
   EXPECT_EQ(R"(
default route
0.0.0.0/0 node:
   8.0.0.0/6 node: 10.64.0.0/10
   200.1.2.0/24 leaf
)",
             drawing(tree));
   EXPECT_TRUE(drop(tree, p4("200.1.2.0/24")));
   EXPECT_TRUE(drop(tree, p4("10.64.0.0/10")));
   EXPECT_TRUE(drop(tree, p4("0.0.0.0/0")));
   EXPECT_EQ("\n0.0.0.0/0 node:\n", drawing(tree));
   EXPECT_EQ(0u, tree.size());
}

TEST(Tree, drawsIPv6) {
   Tree<128> tree(8);
   put(tree, p6("2001:db8::/32"), p6("2001:db8::1/128"), p6("2001:db8::2/128"));
   EXPECT_EQ(R"(
0:0:0:0:0:0:0:0/0 node:
   2001:db8:0:0:0:0:0:0/30 skip
      2001:db8:0:0:0:0:0:0/30 node: 2001:db8:0:0:0:0:0:0/32
         2001:db8:0:0:0:0:0:0/126 skip
            2001:db8:0:0:0:0:0:0/126 node: 2001:db8:0:0:0:0:0:1/128 2001:db8:0:0:0:0:0:2/128
)",
             drawing(tree));
}

TEST(Tree, aNodeWithTwoChildrenGoesAndTheirParentStays) {
   Tree<32> tree(4);
   put(tree, p4("10.0.0.0/8"), p4("10.0.0.0/24"), p4("10.128.0.0/24"));
   EXPECT_TRUE(drop(tree, p4("10.0.0.0/8")));
   EXPECT_EQ(24u, matchLength(tree, p4("10.0.0.1/32")));
   EXPECT_EQ(24u, matchLength(tree, p4("10.128.0.1/32")));
   EXPECT_EQ(999u, matchLength(tree, p4("10.64.0.1/32")));
   EXPECT_EQ("", tree.audit());
}

TEST(Tree, theParentOfWhatACoveringRouteLeaves) {
   Tree<32> tree(4);
   put(tree, p4("0.0.0.0/0"), p4("10.0.0.0/8"), p4("10.1.0.0/16"), p4("10.1.2.0/24"));
   EXPECT_EQ(16u, matchLength(tree, p4("10.1.0.0/23")));
   EXPECT_TRUE(drop(tree, p4("10.1.0.0/16")));
   EXPECT_EQ(8u, matchLength(tree, p4("10.1.0.0/23")));
   EXPECT_TRUE(drop(tree, p4("10.0.0.0/8")));
   EXPECT_EQ(0u, matchLength(tree, p4("10.1.0.0/23")));
   EXPECT_EQ(24u, matchLength(tree, p4("10.1.2.255/32")));
}

TEST(Tree, nestedRoutesInEveryOrder) {
   const std::vector<prefix4> nested = {p4("10.0.0.0/8"), p4("10.0.0.0/16"), p4("10.0.0.0/24"), p4("10.0.0.0/32")};
   std::vector<unsigned> in = {0, 1, 2, 3};
   do {
      std::vector<unsigned> out = {0, 1, 2, 3};
      do {
         Tree<32> tree(4);
         std::vector<unsigned> lengths;
         const auto check = [&] {
            ASSERT_EQ("", tree.audit());
            ASSERT_EQ(lengths.size(), tree.size());
            const unsigned longest = lengths.empty() ? 999 : *std::max_element(lengths.begin(), lengths.end());
            ASSERT_EQ(longest, matchLength(tree, p4("10.0.0.0/32")));
            for (const prefix4& p : nested) {
               ASSERT_EQ(std::count(lengths.begin(), lengths.end(), p.len()) == 1,
                         tree.find(p.bits(), p.len()) != nullptr);
            }
         };
         for (const unsigned i : in) {
            ASSERT_TRUE(add(tree, nested[i].bits(), nested[i].len()));
            lengths.push_back(nested[i].len());
            check();
         }
         for (const unsigned i : out) {
            ASSERT_TRUE(drop(tree, nested[i]));
            std::erase(lengths, nested[i].len());
            check();
         }
      } while (std::next_permutation(out.begin(), out.end()));
   } while (std::next_permutation(in.begin(), in.end()));
}

TEST(Tree, aShorterRouteAfterALongerOneAcrossEachBorder) {
   for (unsigned longer = 1; longer <= 128; ++longer) {
      for (unsigned shorter = 0; shorter < longer; ++shorter) {
         Tree<128> tree(4);
         const auto bits = p6("2001:db8:5555:aaaa:1234:5678:9abc:def1/128").bits();
         add(tree, bits.cut(longer), longer, 1);
         add(tree, bits.cut(shorter), shorter, 2);
         ASSERT_EQ("", tree.audit());
         ASSERT_EQ(longer, tree.match(bits, 128).length);
         ASSERT_EQ(shorter, tree.match(bits, longer - 1).length);
         ASSERT_TRUE(tree.hasLonger(bits.cut(shorter), shorter));
         ASSERT_TRUE(tree.erase(bits.cut(longer), longer, nullptr));
         ASSERT_EQ("", tree.audit());
         ASSERT_EQ(shorter, tree.match(bits, 128).length);
         ASSERT_FALSE(tree.hasLonger(bits.cut(shorter), shorter));
      }
   }
}

TEST(Tree, theDefaultRouteFirstLastAndAlone) {
   const auto last = p4("255.255.255.255/32").bits();
   for (const bool first : {true, false}) {
      Tree<32> tree(4);
      if (first) {
         add(tree, {}, 0, 7);
      }
      add(tree, last, 32, 8);
      EXPECT_EQ(first, tree.match({}, 32).value != nullptr);
      if (!first) {
         add(tree, {}, 0, 7);
      }
      EXPECT_EQ(7u, *static_cast<const U32*>(tree.lookup<4>({})));
      EXPECT_EQ(8u, *static_cast<const U32*>(tree.lookup<4>(last)));
      EXPECT_TRUE(tree.erase(last, 32, nullptr));
      EXPECT_EQ(7u, *static_cast<const U32*>(tree.lookup<4>(last)));
      Tree<32>::Cursor cursor;
      ASSERT_TRUE(tree.first(cursor));
      EXPECT_EQ(0u, cursor.length);
      EXPECT_FALSE(tree.next(cursor));
      EXPECT_TRUE(tree.erase({}, 0, nullptr));
      EXPECT_EQ(nullptr, tree.lookup<4>(last));
      EXPECT_FALSE(tree.erase({}, 0, nullptr));
      EXPECT_EQ(0u, tree.size());
   }
}

TEST(Tree, aNodeShrinksToOneAndGrowsAndKeepsNoOldValues) {
   Tree<32> tree(4);
   const auto bits = p4("10.0.0.0/32").bits();
   for (U32 round = 1; round <= 3; ++round) {
      for (unsigned i = 0; i < 64; ++i) {
         ASSERT_TRUE(add(tree, Tree<32>::Bits(bits.word() | i << 2), 30, round * 100 + i));
      }
      ASSERT_EQ("", tree.audit());
      for (unsigned i = 0; i < 64; ++i) {
         ASSERT_EQ(round * 100 + i, *static_cast<const U32*>(tree.find(Tree<32>::Bits(bits.word() | i << 2), 30)));
      }
      for (unsigned i = 1; i < 64; ++i) {
         U32 old = 0;
         ASSERT_TRUE(tree.erase(Tree<32>::Bits(bits.word() | i << 2), 30, &old));
         ASSERT_EQ(round * 100 + i, old);
         ASSERT_EQ("", tree.audit());
      }
      ASSERT_EQ(round * 100, *static_cast<const U32*>(tree.find(bits, 30)));
      ASSERT_TRUE(tree.erase(bits, 30, nullptr));
      ASSERT_FALSE(tree.erase(bits, 30, nullptr));
      ASSERT_EQ(0u, tree.size());
   }
}

// A node changes where it is while its block has room, and loses routes and children where it is always.
TEST(Tree, aNodeSeldomMoves) {
   for (const unsigned valueSize : {0u, 4u, 8u}) {
      Tree<32> tree(valueSize);
      std::vector<std::pair<Tree<32>::Bits, unsigned>> routes;
      for (unsigned length = 7; length <= 13; ++length) {  // six lengths in one node; the last has children
         for (unsigned i = 0; i < 1u << (length == 13 ? 6 : length - 6); ++i) {
            routes.push_back({Tree<32>::Bits(0x0800'0000 | i << (length == 13 ? 20 : 32 - length)), length});
         }
      }
      std::shuffle(routes.begin(), routes.end(), std::mt19937(valueSize));
      const auto number = [&] { return TreeFault::number(tree, TreeFault::child(tree, TreeFault::root(tree), 0)); };
      unsigned moves = 0;
      U32 at = 0;
      U64 value = 0;
      for (const auto& [bits, length] : routes) {
         ASSERT_TRUE(add(tree, bits, length, ++value));
         moves += number() != at ? 1u : 0u;
         at = number();
      }
      ASSERT_EQ("", tree.audit());
      ASSERT_EQ(126u + 64u, tree.size());
      EXPECT_GE(moves, 4u);
      EXPECT_LE(moves, 12u) << "sizes of blocks";
      value = 0;
      for (const auto& [bits, length] : routes) {
         const void* const found = tree.find(bits, length);
         ASSERT_NE(nullptr, found);
         ++value;
         ASSERT_EQ(0, std::memcmp(&value, found, valueSize));
         ASSERT_EQ(0u, valueSize != 0 ? std::bit_cast<std::uintptr_t>(found) % valueSize : 0u);
      }
      while (routes.size() > 1) {
         U64 old = 0;
         ASSERT_TRUE(tree.erase(routes.back().first, routes.back().second, &old));
         ASSERT_EQ(valueSize != 0 ? routes.size() : 0, old);
         routes.pop_back();
         ASSERT_EQ(at, number());
      }
      ASSERT_EQ("", tree.audit());
   }
}

// What a change beside a version copies: nodes and small pages of the index on one way, and once the first page.
TEST(Tree, aChangeBesideAVersionCopiesLittle) {
   Tree<32> tree(4);
   for (U32 i = 0; i < 60000; ++i) {
      add(tree, Tree<32>::Bits(i * 2654435761u).cut(24), 24, i);
   }
   ASSERT_GT(tree.memory().index, 0u);
   const Hold first(tree.store());
   const Tree<32> before = tree.frozen();
   ASSERT_TRUE(add(tree, p4("10.1.2.3/32").bits(), 32));
   EXPECT_LT(tree.memory().old, 20000u);
   const std::size_t old = tree.memory().old;
   const Hold second(tree.store());
   const Tree<32> between = tree.frozen();
   ASSERT_TRUE(add(tree, p4("203.0.113.7/32").bits(), 32));
   EXPECT_GT(tree.memory().old, old);
   EXPECT_LT(tree.memory().old, old + 2048);
   EXPECT_EQ("", tree.audit());
   EXPECT_EQ("", between.audit());
   EXPECT_EQ("", before.audit());
}

TEST(Tree, whatIsUnderAnAbsentPrefix) {
   Tree<32> tree(4);
   put(tree, p4("10.1.2.0/24"), p4("10.1.3.0/24"));
   const auto hasLonger = [&](prefix4 p) { return tree.hasLonger(p.bits(), p.len()); };
   EXPECT_TRUE(hasLonger(p4("0.0.0.0/0")));
   EXPECT_TRUE(hasLonger(p4("10.0.0.0/8"))) << "inside a compressed way";
   EXPECT_FALSE(hasLonger(p4("11.0.0.0/8")));
   EXPECT_FALSE(hasLonger(p4("10.2.0.0/16"))) << "beside a compressed way";
   EXPECT_TRUE(hasLonger(p4("10.1.0.0/18"))) << "where a node stands";
   EXPECT_TRUE(hasLonger(p4("10.1.2.0/23")));
   EXPECT_FALSE(hasLonger(p4("10.1.2.0/24")));
   EXPECT_FALSE(hasLonger(p4("10.1.2.4/32"))) << "longer than all";
}

TEST(Tree, aChangeThatIsNoneCountsNothing) {
   Tree<32> tree(4);
   put(tree, p4("10.0.0.0/8"));
   const auto generation = tree.generation();
   EXPECT_FALSE(drop(tree, p4("10.0.0.0/9")));
   EXPECT_FALSE(drop(tree, p4("10.0.0.0/7")));
   EXPECT_FALSE(drop(tree, p4("10.0.0.0/32")));
   EXPECT_FALSE(drop(tree, p4("0.0.0.0/0")));
   EXPECT_FALSE(add(tree, p4("10.0.0.0/32").bits(), 8));
   EXPECT_EQ(generation, tree.generation());
   EXPECT_EQ(1u, tree.size());
}

TEST(Tree, everyChangeHasAGenerationOfItsOwn) {
   Tree<32> a(4);
   Tree<32> b(4);
   put(a, p4("10.0.0.0/8"), p4("11.0.0.0/8"));
   put(b, p4("10.0.0.0/8"));
   const auto ofA = a.generation();
   const auto ofB = b.generation();
   a.swap(b);
   EXPECT_GT(a.generation(), std::max(ofA, ofB));
   EXPECT_GT(b.generation(), std::max(ofA, ofB));
   const auto before = b.generation();
   a = std::move(b);
   EXPECT_GT(a.generation(), before);
   EXPECT_GT(b.generation(), before);
   EXPECT_EQ(2u, a.size());
   EXPECT_EQ(0u, b.size());
   const auto cleared = a.generation();
   a.clear();
   EXPECT_NE(cleared, a.generation());
   EXPECT_EQ(0u, a.memory().total());
}

TEST(Tree, smallTablesAreSmall) {
   std::mt19937_64 random(1);
   for (int round = 0; round < 100; ++round) {
      Tree<32> four(4);
      Tree<128> six(4);
      while (four.size() < 10) {
         const unsigned length = 8 + static_cast<unsigned>(random() % 25);
         add(four, Tree<32>::Bits(static_cast<U32>(random())).cut(length), length);
      }
      while (six.size() < 10) {
         const unsigned length = 16 + static_cast<unsigned>(random() % 113);
         add(six, Tree<128>::Bits(U128{random()} << 64 | random()).cut(length), length);
      }
      EXPECT_LE(four.memory().total() + sizeof four, 2048u);
      EXPECT_LE(six.memory().total() + sizeof six, 2048u);
   }
}

// An index that is begun is filled with the changes that follow, a few pages with each, until it is as one that was made at once.
template <unsigned width>
void indexComesByAndBy(std::size_t indexFrom, unsigned length, std::size_t mostBytes) {
   Tree<width> tree(4);
   std::mt19937_64 random(3);
   std::size_t indexBytes = 0;
   std::size_t changes = 0;
   while (changes < 4096) {
      using Bits = typename Tree<width>::Bits;
      const U64 high = random() & 0x3fff'ffff'0000'0000;
      add(tree, Bits(static_cast<typename Bits::Word>(U128{high} << 64 >> (128 - width))).cut(length), length);
      const std::size_t now = tree.memory().index;
      if (TreeFault::hasIndex(tree)) {
         ASSERT_LE(now - indexBytes, mostBytes + (changes == 0 ? 16u << 10 : 0));
         if (++changes % 500 == 0) {
            ASSERT_EQ("", tree.audit());
         }
      } else {
         ASSERT_LE(tree.size(), indexFrom);
      }
      indexBytes = now;
   }
   EXPECT_GT(indexBytes, 16u << 10);
   EXPECT_EQ(tree.clone().memory().index, indexBytes);
}
TEST(Tree, theIndexComesByAndBy) {
   indexComesByAndBy<32>(32768, 24, 9 * 256);
   indexComesByAndBy<128>(8192, 30, 30 * 256);
}

TEST(Tree, theIndexComesAndGoes) {
   Tree<32> tree(4);
   std::mt19937 random(2);
   std::vector<Tree<32>::Bits> all;
   const auto bitsOf = [](U32 i) { return Tree<32>::Bits((i * 2654435761u) & 0x3fffff00); };
   for (U32 i = 0; tree.size() < 33000; ++i) {
      if (add(tree, bitsOf(i), 24, i)) {
         all.push_back(bitsOf(i));
      }
   }
   EXPECT_TRUE(TreeFault::hasIndex(tree));
   EXPECT_GT(tree.memory().index, 0u);
   EXPECT_EQ("", tree.audit());
   std::shuffle(all.begin(), all.end(), random);
   while (TreeFault::hasIndex(tree) && !all.empty()) {
      ASSERT_TRUE(tree.erase(all.back(), 24, nullptr));
      all.pop_back();
   }
   EXPECT_GT(all.size(), 4000u);
   EXPECT_EQ(0u, tree.memory().index);
   EXPECT_EQ("", tree.audit());
}

// Routes around one place of the index come and go in any order, under it, at it and above: nodes there are made, moved, compressed
// and dropped, and the number for a place where nothing stands has to follow the node above it.
enum class Versions { none, held, published };
template <unsigned width>
void changeAroundAnEmptyPlace(unsigned indexDepth, bool isAlone, Versions versions = Versions::none) {
   using Bits = typename Tree<width>::Bits;
   using Word = typename Bits::Word;
   const auto bit = [](unsigned at) { return static_cast<Word>(Word{1} << (width - 1 - at)); };
   std::mt19937 random(indexDepth);
   Tree<width> tree(4);
   // Enough for a page to pay, in other nodes that share the page.
   for (unsigned i = 0; i < 1u << 12; ++i) {
      Word word = bit(2);
      for (unsigned k = 0; k < 12; ++k) {
         word |= (i >> k & 1) != 0 ? bit(indexDepth - 7 + k) : Word{0};
      }
      add(tree, Bits(word | bit(indexDepth - 9)), indexDepth + 5);
   }
   if (versions == Versions::published) {
      tree.startPublishing();
   }
   TreeFault::buildIndex(tree);
   ASSERT_TRUE(TreeFault::hasIndex(tree));
   ASSERT_EQ("", tree.audit());
   if (versions == Versions::published) {
      tree.store()->publish();
   }
   struct Held {
      Tree<width> tree;
      std::unique_ptr<Hold> hold;
   };
   std::vector<Held> held;
   const Word start = isAlone ? bit(0) : bit(2);  // where nothing else stands, or beside all the others
   const Bits place(start);
   ASSERT_EQ(nullptr, tree.template lookup<4>(place));
   std::vector<std::pair<Bits, unsigned>> routes;
   for (const unsigned length : {indexDepth - 14, indexDepth - 8, indexDepth - 5, indexDepth - 1, indexDepth,
                                 indexDepth + 2, indexDepth + 8, indexDepth + 14}) {
      for (const unsigned aside : {indexDepth - 13, indexDepth - 8, indexDepth - 2, indexDepth + 3, width}) {
         const Bits bits = Bits(start | (aside < width ? bit(aside) : Word{0})).cut(length);
         if (std::find(routes.begin(), routes.end(), std::pair(bits, length)) == routes.end()) {
            routes.push_back({bits, length});
         }
      }
   }
   for (int round = 0; round < 40; ++round) {
      std::shuffle(routes.begin(), routes.end(), random);
      const std::size_t some = 1 + random() % 6;
      for (const bool in : {true, false}) {
         for (std::size_t i = 0; i < some; ++i) {
            const auto& [bits, length] = routes[in ? i : some - 1 - i];
            if (versions == Versions::held && random() % 2 == 0) {
               held.push_back({tree.frozen(), std::make_unique<Hold>(tree.store())});
            }
            const std::size_t size = tree.size();
            const Tree<width> before = tree.frozen();
            ASSERT_TRUE(in ? add(tree, bits, length) : tree.erase(bits, length, nullptr));
            ASSERT_EQ("", tree.audit());
            if (versions == Versions::published) {
               ASSERT_EQ("", before.audit());
               ASSERT_EQ(size, before.size());
               tree.store()->publish();
            }
            for (const Held& one : held) {
               ASSERT_EQ("", one.tree.audit());
            }
            if (held.size() > 3) {
               held.erase(held.begin() + static_cast<std::ptrdiff_t>(random() % held.size()));
            }
            for (const auto& [asked, unused] : routes) {
               unsigned longest = 999;
               for (std::size_t j = 0; j < some; ++j) {
                  if ((in ? j <= i : j < some - 1 - i) && routes[j].first.sharesFirst(asked, routes[j].second) &&
                      (longest == 999 || routes[j].second > longest)) {
                     longest = routes[j].second;
                  }
               }
               const auto best = tree.match(asked, width);
               ASSERT_EQ(longest, best.value != nullptr ? best.length : 999);
               ASSERT_EQ(best.value, tree.template lookup<4>(asked));
            }
         }
      }
   }
}

TEST(Tree, theIndexFollowsWhatStandsAboveAnEmptyPlace) {
   for (const bool isAlone : {false, true}) {
      changeAroundAnEmptyPlace<32>(18, isAlone);
      changeAroundAnEmptyPlace<128>(24, isAlone);
   }
}

// And so do the indexes of versions, each of its own.
TEST(Tree, theIndexOfAVersionStays) {
   for (const bool isAlone : {false, true}) {
      for (const Versions versions : {Versions::held, Versions::published}) {
         changeAroundAnEmptyPlace<32>(18, isAlone, versions);
         changeAroundAnEmptyPlace<128>(24, isAlone, versions);
      }
   }
}

// Bursts of every size, so that those done side by side and those left over one by one both answer as lookup() does.
template <unsigned width, unsigned valueSize>
void askInBursts() {
   using Bits = typename Tree<width>::Bits;
   std::mt19937_64 random(7 * width + valueSize);
   Tree<width> tree(valueSize);
   const auto anyBits = [&] {
      if constexpr (width == 32) {
         return Bits(static_cast<U32>(random() & 0x3f0f'ffff));
      } else {
         return Bits(U128{random() & 0x0f00'0fff'f00f'000f} << 64 | (random() & 3));
      }
   };
   std::vector<Bits> known;
   while (tree.size() < (width == 32 ? 40000u : 12000u)) {
      const unsigned length = width / 4 + static_cast<unsigned>(random() % (width / 4 * 3 + 1));
      known.push_back(anyBits());
      add(tree, known.back().cut(length), length, random());
   }
   ASSERT_GT(tree.memory().index, 0u);
   for (std::size_t count = 0; count <= 70; ++count) {
      std::vector<Bits> asked;
      for (std::size_t i = 0; i < count; ++i) {
         asked.push_back(random() % 4 == 0 ? anyBits() : known[random() % known.size()]);
      }
      std::vector<int> times(count, 0);
      tree.template lookupBulk<valueSize>(
         count, [&](std::size_t i) { return asked[i]; },
         [&](std::size_t i, const void* value) {
            ++times[i];
            const auto best = tree.match(asked[i], width);
            ASSERT_EQ(best.value != nullptr, value != nullptr);
            if (valueSize != 0) {
               ASSERT_EQ(best.value, value);
            }
         });
      ASSERT_EQ(std::vector<int>(count, 1), times);
   }
}

TEST(Tree, burstsOfEverySize) {
   askInBursts<32, 0>();
   askInBursts<32, 4>();
   askInBursts<32, 8>();
   askInBursts<128, 0>();
   askInBursts<128, 2>();
   askInBursts<128, 8>();
}

//--- audit() finds what is broken ---

template <unsigned width>
Tree<width> sound() {
   Tree<width> tree(4);
   if constexpr (width == 32) {
      put(tree, p4("10.0.0.0/8"), p4("10.1.2.0/24"), p4("10.1.3.0/24"), p4("200.0.0.0/32"));
   } else {
      put(tree, p6("2001:db8::/32"), p6("2001:db8::/64"));
   }
   EXPECT_EQ("", tree.audit());
   return tree;
}

TEST(TreeAudit, findsPlantedFaults) {
   {
      Tree<32> tree = sound<32>();
      TreeFault::miscount(tree);
      EXPECT_EQ("size() is 5, and 4 routes are there", tree.audit());
   }
   {
      Tree<32> tree = sound<32>();
      TreeFault::root(tree).routes[0] |= 1;
      EXPECT_NE("", tree.audit()) << "a route without a value";
   }
   {
      Tree<32> tree = sound<32>();
      Node& leaf = TreeFault::child(tree, TreeFault::root(tree), 1);
      ASSERT_TRUE(leaf.isCompressed() && leaf.isLeaf());
      leaf.children ^= U64{1} << 31;
      EXPECT_THAT(tree.audit(), HasSubstr("the bits of another place"));
      leaf.children ^= U64{1} << 31;
      leaf.routes[0] -= 20;
      EXPECT_THAT(tree.audit(), HasSubstr("a leaf that is too short"));
      leaf = Node{};
      EXPECT_THAT(tree.audit(), HasSubstr("a node without routes and children, under 200.0.0.0/6"));
   }
   {
      Tree<32> tree = sound<32>();
      TreeFault::root(tree).children &= TreeFault::root(tree).children - 1;
      EXPECT_NE("", tree.audit()) << "a child that nobody holds";
   }
   {
      Tree<128> tree(4);
      put(tree, p6("2001:db8::/64"), p6("2001:db8::1/128"));
      for (unsigned i = 0; i < 4096; ++i) {  // so many that a page pays
         add(tree, Tree<128>::Bits(U128{0x2001'0db8'0000'0000 + (U64{i} << 30)} << 64), 34);
      }
      TreeFault::buildIndex(tree);
      ASSERT_EQ("", tree.audit());
      U32& slot = TreeFault::slot(tree, p6("2001:db8::/128").bits());
      ++slot;
      EXPECT_THAT(tree.audit(), HasSubstr("the index leads elsewhere"));
      --slot;
      ASSERT_EQ("", tree.audit());
      U32& empty = TreeFault::slot(tree, p6("2001:db8:0:1::/128").bits());
      ASSERT_EQ("", tree.audit());
      empty ^= U32{1} << 31;
      EXPECT_THAT(tree.audit(), HasSubstr("the index leads elsewhere"));
   }
}

// Each text of audit() that says how a node or a way may not be.
TEST(TreeAudit, findsPlantedFaultsOfShape) {
   {
      Tree<32> tree = sound<32>();
      TreeFault::root(tree).routes[1] |= U64{1} << 63;
      EXPECT_THAT(tree.audit(), HasSubstr("a route behind the 63 places, under 0.0.0.0/0"));
   }
   {
      // A skip from bit 6 to a node at bit 30, the last one.
      Tree<32> tree(4);
      put(tree, p4("0.0.0.1/32"), p4("0.0.0.2/32"));
      ASSERT_EQ("", tree.audit());
      Node& skip = TreeFault::child(tree, TreeFault::root(tree), 0);
      ASSERT_TRUE(skip.isCompressed() && !skip.isLeaf());
      ASSERT_EQ(30u, skip.length());
      Node& last = TreeFault::target(tree, skip);
      const Node asItWas = last;
      skip.routes[0] -= 18;
      EXPECT_THAT(tree.audit(), HasSubstr("a skip that is too short or ends within six bits, under 0.0.0.0/6"));
      skip.routes[0] += 18 - 1;
      EXPECT_THAT(tree.audit(), HasSubstr("a skip that is too short or ends within six bits, under 0.0.0.0/6"));
      skip.routes[0] += 1;
      ASSERT_EQ("", tree.audit());
      last.routes[0] |= 1u << placeOf(3, 0);
      EXPECT_THAT(tree.audit(), HasSubstr("a route longer than an address, under 0.0.0.0/30"));
      last = asItWas;
      last.routes[0] &= last.routes[0] - 1;
      EXPECT_THAT(tree.audit(), HasSubstr("a skip to a node that has no choice, under 0.0.0.0/6"));
      last = asItWas;
      ASSERT_EQ("", tree.audit());
      last.children = 1;
      last.numbers()[0] = TreeFault::number(tree, TreeFault::root(tree));
      EXPECT_THAT(tree.audit(), HasSubstr("a node behind the last bit, under 0.0.0.0/"));
   }
   {
      // A node without routes at bit 6 loses one of its two children.
      Tree<32> tree(4);
      put(tree, p4("0.0.0.1/32"), p4("3.0.0.1/32"));
      ASSERT_EQ("", tree.audit());
      Node& n = TreeFault::child(tree, TreeFault::root(tree), 0);
      ASSERT_TRUE(!n.isCompressed() && n.childCount() == 2 && !n.hasRoutes());
      n.children &= n.children - 1;
      EXPECT_THAT(tree.audit(), HasSubstr("a way without a choice is not compressed, under 0.0.0.0/6"));
   }
}

TEST(TreeAudit, findsPlantedFaultsOfTheIndex) {
   Tree<128> tree(4);
   put(tree, p6("::/64"), p6("::1/128"));
   for (unsigned i = 0; i < 4096; ++i) {
      add(tree, Tree<128>::Bits(U128{0x2001'0db8'0000'0000 + (U64{i} << 30)} << 64), 34);
   }
   TreeFault::buildIndex(tree);
   ASSERT_EQ("", tree.audit());
   TreeFault::miscountPages(tree);
   EXPECT_THAT(tree.audit(), HasSubstr("the pages of the index are counted wrong"));
   // The way to all under 2000::/6 goes, and the index leads there yet.
   Node& root = TreeFault::root(tree);
   ASSERT_EQ(2u, root.childCount());
   root.children &= (U64{1} << 8) - 1;
   TreeFault::sizeIs(tree, 2);
   EXPECT_THAT(tree.audit(), HasSubstr("the index leads to what is gone"));
}

#ifdef ROUTETRIE_FAULT_INJECTION
TEST(Tree, anAllocationThatFailsLeavesAllAsItWas) {
   std::mt19937_64 random(3);
   Tree<128> tree(4);
   unsigned raised = 0;
   for (int i = 0; i < 600; ++i) {
      const unsigned length = 1 + static_cast<unsigned>(random() % 128);
      const auto bits = Tree<128>::Bits((U128{random() & 0xf00f'000f'0000'0003} << 64) | (random() & 3)).cut(length);
      for (U64 n = 1;; ++n) {
         const std::string before = drawing(tree);
         const auto generation = tree.generation();
         Region::failAt(n);
         try {
            add(tree, bits, length, random());
            Region::failAt(0);
            break;
         } catch (const std::bad_alloc&) {
            Region::failAt(0);
            ++raised;
            const std::string after = drawing(tree);
            // The first route brings an empty root, which may stay.
            ASSERT_TRUE(before == after || tree.size() == 0);
            ASSERT_EQ(generation, tree.generation());
         }
      }
      if (random() % 3 == 0) {
         tree.erase(bits, length, nullptr);
      }
      if (tree.size() > 40) {
         tree.clear();
      }
   }
   EXPECT_GT(raised, 200u);
}
#endif

TEST(Tree, aValueThatCannotBeMadeLeavesAllAsItWas) {
   Tree<32> tree(4);
   put(tree, p4("10.0.0.0/8"), p4("10.1.2.0/24"));
   const std::string before = drawing(tree);
   for (unsigned length = 0; length <= 32; ++length) {
      const auto bits = p4("10.1.3.7/32").bits().cut(length);
      if (tree.find(bits, length) != nullptr) {
         continue;
      }
      EXPECT_THROW(tree.insert(
                      bits, length, [](void*, void*) { throw 1; }, nullptr),
                   int);
      EXPECT_EQ(before, drawing(tree));
   }
   EXPECT_EQ(2u, tree.size());
}

}  // namespace TreeTest
}  // namespace routetrie::Impl
