#include "routetrie/compiled.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "routetrie/platform/Types.h"
#include "routetrie/shared_table.h"

namespace routetrie {
namespace CompiledTest {

using Impl::BorderSweep;

static_assert(std::is_nothrow_move_constructible_v<compiled_table<std::string>>);
static_assert(!std::is_copy_constructible_v<compiled_table4<int>>, "made anew, not copied");

template <unsigned width>
std::vector<std::string> piecesOf(const Impl::Borders<width>& of) {
   std::vector<std::string> pieces;
   for (std::size_t i = 0; i < of.starts.size(); ++i) {
      const typename Impl::PrefixOfWidth<width>::AddressType at(Corenet::AddressBits<width>(of.starts[i]));
      pieces.push_back(fmt::format("{} {}", at, of.words[i] == of.none ? "none" : std::to_string(of.words[i])));
   }
   return pieces;
}

std::vector<std::string> swept(const std::vector<std::pair<prefix4, U32>>& routes) {
   BorderSweep<32> sweep(0);
   for (const auto& [where, word] : routes) {
      sweep.add(where.bits(), where.len(), word);
   }
   return piecesOf(sweep.finish());
}

TEST(Borders, AreWhereTheAnswerChanges) {
   EXPECT_THAT(swept({}), testing::ElementsAre("0.0.0.0 none"));
   EXPECT_THAT(swept({{"0.0.0.0/0"_prefix, 1}}), testing::ElementsAre("0.0.0.0 1"));
   EXPECT_THAT(swept({{"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 2}}),
               testing::ElementsAre("0.0.0.0 none", "10.0.0.0 1", "10.1.0.0 2", "10.2.0.0 1", "11.0.0.0 none"));
   // Routes that begin or end together, side by side, and at both ends.
   EXPECT_THAT(swept({{"10.0.0.0/8"_prefix, 1}, {"10.0.0.0/9"_prefix, 2}, {"10.0.0.0/10"_prefix, 3}}),
               testing::ElementsAre("0.0.0.0 none", "10.0.0.0 3", "10.64.0.0 2", "10.128.0.0 1", "11.0.0.0 none"));
   EXPECT_THAT(swept({{"10.0.0.0/8"_prefix, 1}, {"10.128.0.0/9"_prefix, 2}, {"10.192.0.0/10"_prefix, 3}}),
               testing::ElementsAre("0.0.0.0 none", "10.0.0.0 1", "10.128.0.0 2", "10.192.0.0 3", "11.0.0.0 none"));
   EXPECT_THAT(swept({{"0.0.0.0/32"_prefix, 1}, {"0.0.0.1/32"_prefix, 2}, {"255.255.255.255/32"_prefix, 3}}),
               testing::ElementsAre("0.0.0.0 1", "0.0.0.1 2", "0.0.0.2 none", "255.255.255.255 3"));
}

TEST(Borders, AreNoneBetweenEqualAnswers) {
   EXPECT_THAT(swept({{"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 1}, {"11.0.0.0/8"_prefix, 1}}),
               testing::ElementsAre("0.0.0.0 none", "10.0.0.0 1", "12.0.0.0 none"));
   EXPECT_THAT(swept({{"0.0.0.0/0"_prefix, 1}, {"10.0.0.0/8"_prefix, 2}, {"10.0.0.0/9"_prefix, 1}}),
               testing::ElementsAre("0.0.0.0 1", "10.128.0.0 2", "11.0.0.0 1"));
}

TEST(Borders, FindWordsThatNoRouteHas) {
   const U32 most = std::numeric_limits<U32>::max();
   BorderSweep<32> sweep(0);
   for (U32 i = 0; i < 70000; ++i) {
      // Three words of each upper half, at its end; and all of the greatest.
      sweep.add(Corenet::AddressBits<32>(i << 8), 24, i % 2 == 0 ? most - i / 2 : (i % 65536) << 16 | 65533);
   }
   const auto borders = sweep.finish();
   EXPECT_EQ(borders.aside + 1, borders.none);
   EXPECT_THAT(std::vector(borders.words.begin(), borders.words.end() - 1),
               testing::Not(testing::Contains(testing::AnyOf(borders.none, borders.aside))));
   EXPECT_EQ(borders.none, borders.words.back());
}

TEST(Borders, TakeRoutesInOrderAlone) {
   const auto sweepOf = [](std::vector<prefix4> routes) {
      BorderSweep<32> sweep(0);
      for (const auto& where : routes) {
         sweep.add(where.bits(), where.len(), 0);
      }
      sweep.finish();
   };
   EXPECT_THROW(sweepOf({"11.0.0.0/8"_prefix, "10.0.0.0/8"_prefix}), std::invalid_argument);
   EXPECT_THROW(sweepOf({"10.0.0.0/9"_prefix, "10.0.0.0/8"_prefix}), std::invalid_argument);
   EXPECT_THROW(sweepOf({"10.0.0.0/8"_prefix, "10.0.0.0/8"_prefix}), std::invalid_argument);
   EXPECT_NO_THROW(sweepOf({"10.0.0.0/8"_prefix, "10.0.0.0/9"_prefix, "10.0.0.0/10"_prefix}));
}

TEST(CompiledTable, OfNoRouteHasNoAnswer) {
   const compiled_table4<int> nothing;
   EXPECT_EQ(nullptr, nothing.lookup("0.0.0.0"_address));
   EXPECT_EQ(nullptr, nothing.lookup("255.255.255.255"_address));
   const auto six = compile(table6<std::string>());
   EXPECT_EQ(nullptr, six.lookup("::"_address));
   EXPECT_EQ(nullptr, six.lookup("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"_address));
   EXPECT_STREQ("empty", six.shape());
   EXPECT_EQ(0u, six.memory().total());
   EXPECT_TRUE(six.empty());
   EXPECT_LE(sizeof nothing, 512u);
}

TEST(CompiledTable, AnswersWithTheValueOfTheLongestMatch) {
   table<int> t;
   t.insert({"10.0.0.0/8"_prefix, 8});
   t.insert({"10.1.2.0/24"_prefix, 24});
   t.insert({"10.1.2.3/32"_prefix, 32});
   t.insert({"2001:db8::/32"_prefix, 632});
   t.insert({"2001:db8::1/128"_prefix, 6128});
   const auto compiled = compile(t);
   t.clear();  // it keeps its own
   EXPECT_EQ(5u, compiled.size());
   EXPECT_EQ(8, *compiled.lookup("10.9.9.9"_address));
   EXPECT_EQ(24, *compiled.lookup("10.1.2.4"_address));
   EXPECT_EQ(32, *compiled.lookup("10.1.2.3"_address));
   EXPECT_EQ(nullptr, compiled.lookup("11.0.0.0"_address));
   EXPECT_EQ(632, *compiled.lookup("2001:db8::2"_address));
   EXPECT_EQ(6128, *compiled.lookup("2001:db8::1"_address));
   EXPECT_EQ(nullptr, compiled.lookup("2001:db9::"_address));
   EXPECT_EQ(nullptr, compiled.lookup(address()));
   EXPECT_TRUE(compiled.covers("10.9.9.9"_address));
   EXPECT_FALSE(compiled.covers(address()));

   const std::array<address, 5> burst{"10.1.2.3"_address, "2001:db8::1"_address, address(), "9.0.0.0"_address,
                                      "10.0.0.0"_address};
   std::array<const int*, 5> found;
   compiled.lookup_bulk(burst, found);
   EXPECT_EQ(32, *found[0]);
   EXPECT_EQ(6128, *found[1]);
   EXPECT_EQ(nullptr, found[2]);
   EXPECT_EQ(nullptr, found[3]);
   EXPECT_EQ(8, *found[4]);
   std::array<bool, 5> covered;
   compiled.covers_bulk(burst, covered);
   EXPECT_THAT(covered, testing::ElementsAre(true, true, false, false, true));
   EXPECT_THROW(compiled.lookup_bulk(burst, std::span(found).first(4)), std::invalid_argument);
   EXPECT_THROW(compiled.v4().lookup_bulk(std::array<address4, 2>(), std::span(found).first(1)),
                std::invalid_argument);
}

template <class T>
void keeps(const std::vector<T>& values) {
   table4<T> t;
   for (std::size_t i = 0; i < values.size(); ++i) {
      t.insert({prefix4::cut(address4(static_cast<U32>(i) << 24).bits(), 8), values[i]});
   }
   auto compiled = compile(t);
   const auto moved = std::move(compiled);
   EXPECT_EQ(nullptr, compiled.lookup(address4(0)));  // NOLINT: what was moved from is empty
   for (std::size_t i = 0; i < values.size(); ++i) {
      const T* got = moved.lookup(address4(static_cast<U32>(i) << 24 | 5));
      ASSERT_NE(nullptr, got) << i;
      EXPECT_EQ(values[i], *got) << i;
   }
   EXPECT_EQ(nullptr, moved.lookup(address4(~0u)));
}

TEST(CompiledTable, KeepsValuesOfAllKinds) {
   struct OnlyEqual {
      std::string text;
      bool operator==(const OnlyEqual&) const = default;
   };
   keeps<U8>({0, 1, 255, 255, 7});
   keeps<bool>({true, false, false});
   keeps<std::int16_t>({-1, 0, 1});
   keeps<U32>({0, ~0u, ~0u - 1, ~0u - 2, 5});
   keeps<float>({0.5f, -1});
   keeps<std::uint64_t>({0, ~std::uint64_t{0}, 0});
   keeps<std::string>({"a", "b", "a", ""});
   keeps<OnlyEqual>({{"a"}, {"a"}, {"b"}, {"a"}});
   keeps<std::shared_ptr<int>>({nullptr, std::make_shared<int>(3)});
}

TEST(CompiledTable, KeepsEqualValuesOnce) {
   table4<std::string> t;
   t.insert({"10.0.0.0/8"_prefix, "a"});
   t.insert({"12.0.0.0/8"_prefix, "b"});
   t.insert({"14.0.0.0/8"_prefix, "a"});
   const auto compiled = compile(t);
   EXPECT_EQ(compiled.lookup("10.0.0.0"_address), compiled.lookup("14.0.0.0"_address));
   EXPECT_NE(compiled.lookup("10.0.0.0"_address), compiled.lookup("12.0.0.0"_address));
}

TEST(CompiledTable, OfASetTellsWhatIsCovered) {
   table<void> set;
   set.insert("10.0.0.0/8"_prefix);
   set.insert("10.1.0.0/16"_prefix);
   set.insert("::/1"_prefix);
   const compiled_set compiled = compile(set);
   EXPECT_TRUE(compiled.covers("10.1.0.0"_address));
   EXPECT_FALSE(compiled.covers("11.0.0.0"_address));
   EXPECT_TRUE(compiled.covers("1::"_address));
   EXPECT_FALSE(compiled.covers("8000::"_address));
}

TEST(CompiledTable, IsMadeOfAnyRoutesInOrder) {
   const prefix6 outer = "::/0"_prefix, inner = "2001:db8::/32"_prefix;
   std::vector<std::pair<prefix6, int>> routes;
   routes.emplace_back(outer, 1);
   routes.emplace_back(inner, 2);
   const compiled_table6<int> compiled(routes);
   EXPECT_EQ(1, *compiled.lookup("2001:db7::"_address));
   EXPECT_EQ(2, *compiled.lookup("2001:db8::"_address));
   std::ranges::reverse(routes);
   EXPECT_THROW(compiled_table6<int>{routes}, std::invalid_argument);
   routes[0].first = prefix6::nullPrefix();
   EXPECT_THROW(compiled_table6<int>{routes}, std::invalid_argument);
}

TEST(CompiledTable, OfFewRoutesIsSmall) {
   table<int> t;
   for (U32 i = 0; i < 10; ++i) {
      t.insert({prefix4::cut(address4(i * 0x17171717).bits(), 8 + 2 * i), 1});
      t.insert({prefix6::cut(to_address6(0x2001'0db8'0000'0000 + std::uint64_t{i} * 0x0001'2345'6789, 0).bits(),
                             40 + 8 * i),
                2});
   }
   EXPECT_EQ(20u, t.size());
   EXPECT_LE(compile(t).memory().total(), 4096u);
}

TEST(CompiledTable, UsesTheInstructionsThatItIsTold) {
   compiled_table4<int> compiled;
   EXPECT_EQ(Impl::bestInstructions(), compiled.in_use());
   compiled.use(instruction_set::plain);
   EXPECT_EQ(instruction_set::plain, compiled.in_use());
   for (const auto with : {instruction_set::avx2, instruction_set::avx512}) {
      if (!Impl::hasInstructions(with)) {
         EXPECT_THROW(compiled.use(with), std::invalid_argument);
      }
   }
}

// Of whatever is asked as a table is: snapshots, and the version that a reader has locked.
TEST(CompiledTable, IsMadeOfWhatIsAskedAsATable) {
   shared_table<int> t;
   t.insert({{"10.0.0.0/8"_prefix, 4}, {"2001:db8::/32"_prefix, 6}});
   const auto reader = t.reader();
   const auto expectRight = [](const compiled_table<int>& compiled) {
      EXPECT_EQ(4, *compiled.lookup("10.1.2.3"_address));
      EXPECT_EQ(6, *compiled.lookup("2001:db8::1"_address));
      EXPECT_EQ(2u, compiled.size());
   };
   const auto snapshot = t.snapshot();
   t.insert({"11.0.0.0/8"_prefix, 5});
   expectRight(compile(snapshot));
   EXPECT_EQ(5, *compile(*reader.lock()).lookup("11.1.2.3"_address));
   EXPECT_EQ(4, *compile(reader.lock()->v4()).lookup(address4(10u << 24)));
}

}  // namespace CompiledTest
}  // namespace routetrie
