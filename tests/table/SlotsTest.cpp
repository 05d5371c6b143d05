#include "routetrie/table/Slots.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

namespace routetrie::Impl {
namespace SlotsTest {

using Number = Slots<std::string>::Number;

void destroyAll(Slots<std::string>& slots, const std::map<Number, std::string>& model) {
   for (const auto& [number, value] : model) {
      slots.destroy(number);
   }
}

TEST(Slots, aValueKeepsItsPlaceUntilItIsDestroyed) {
   Slots<std::string> slots;
   EXPECT_EQ(0u, slots.bytes()) << "an empty one has no memory";
   std::map<Number, std::string> model;
   std::map<Number, const std::string*> places;
   // Past the doublings, and into several of the large chunks.
   for (int i = 0; i < 5000; ++i) {
      const std::string text = "a value of some length, number " + std::to_string(i);
      const Number number = slots.make(text);
      ASSERT_TRUE(model.emplace(number, text).second) << "a number in use was given out";
      places[number] = &slots[number];
   }
   for (const auto& [number, text] : model) {
      ASSERT_EQ(text, std::as_const(slots)[number]);
      ASSERT_EQ(places[number], &slots[number]);
   }
   EXPECT_GE(slots.bytes(), 5000 * sizeof(std::string));
   destroyAll(slots, model);
}

TEST(Slots, freedPlacesAreUsedAgain) {
   Slots<std::string> slots;
   std::map<Number, std::string> model;
   std::mt19937_64 random(5);
   for (int i = 0; i < 1000; ++i) {
      model[slots.make(std::to_string(i))] = std::to_string(i);
   }
   const std::size_t bytes = slots.bytes();
   for (int i = 0; i < 20'000; ++i) {
      auto at = model.begin();
      std::advance(at, random() % model.size());
      slots.destroy(at->first);
      model.erase(at);
      const std::string text = std::to_string(i);
      const Number number = slots.make(text);
      ASSERT_TRUE(model.emplace(number, text).second);
      ASSERT_EQ(text, slots[number]);
   }
   EXPECT_EQ(bytes, slots.bytes()) << "it grew, though it never held more";
   for (const auto& [number, text] : model) {
      ASSERT_EQ(text, slots[number]);
   }
   destroyAll(slots, model);
}

TEST(Slots, aSmallOneIsSmall) {
   Slots<std::uint64_t> slots;
   slots.make(1u);
   EXPECT_LE(slots.bytes(), 8 * sizeof(std::uint64_t) + 2 * sizeof(void*));
   for (int i = 0; i < 100'000; ++i) {
      slots.make(1u);
   }
   EXPECT_LE(slots.bytes(), (100'001 + 1024) * sizeof(std::uint64_t) + 1024 * sizeof(void*));
}

struct Raises {
   explicit Raises(bool does) {
      if (does) {
         throw std::runtime_error("as it was told");
      }
   }
};

TEST(Slots, aConstructorThatRaisesLeavesThePlaceFree) {
   Slots<Raises> slots;
   EXPECT_THROW(slots.make(true), std::runtime_error);
   const auto first = slots.make(false);
   const auto second = slots.make(false);
   slots.destroy(first);
   slots.destroy(second);
   EXPECT_THROW(slots.make(true), std::runtime_error);
   const auto third = slots.make(false);
   EXPECT_EQ(second, third) << "freed last, used first";
   EXPECT_EQ(first, slots.make(false));
   EXPECT_EQ(std::max(first, second) + 1, slots.make(false)) << "the list of free places is whole";
}

TEST(Slots, copiesGoToTheSameNumbers) {
   Slots<std::string> from;
   std::map<Number, std::string> model;
   for (int i = 0; i < 100; ++i) {
      model[from.make(std::to_string(i))] = std::to_string(i);
   }
   for (const Number gone : {3u, 70u, 8u, 99u}) {
      from.destroy(gone);
      model.erase(gone);
   }
   Slots<std::string> to;
   to.reserveAs(from);
   for (const auto& [number, text] : model) {
      to.makeAt(number, text);
   }
   to.freeAs(from);
   std::set<Number> fresh;
   for (int i = 0; i < 10; ++i) {
      const Number number = to.make("new");
      EXPECT_FALSE(model.contains(number));
      EXPECT_TRUE(fresh.insert(number).second);
      EXPECT_EQ(number, from.make("new")) << "both give out the same numbers from now on";
   }
   for (const auto& [number, text] : model) {
      EXPECT_EQ(text, to[number]);
   }
   for (const Number number : fresh) {
      to.destroy(number);
      from.destroy(number);
   }
   destroyAll(to, model);
   destroyAll(from, model);
}

TEST(Slots, movesAndSwaps) {
   Slots<std::unique_ptr<int>> a;
   const auto number = a.make(std::make_unique<int>(5));
   Slots<std::unique_ptr<int>> b(std::move(a));
   EXPECT_EQ(5, *b[number]);
   EXPECT_EQ(0u, a.bytes());
   const auto again = a.make(std::make_unique<int>(6));  // what was moved from is empty, and works
   a.swap(b);
   EXPECT_EQ(5, *a[number]);
   EXPECT_EQ(6, *b[again]);
   a.destroy(number);
   b.destroy(again);
   a = std::move(b);
   EXPECT_EQ(again, a.make(nullptr));
   a.destroy(again);
}

TEST(Slots, areAligned) {
   struct alignas(256) Wide {
      char byte = 0;
   };
   Slots<Wide> slots;
   for (int i = 0; i < 50; ++i) {
      const Wide& wide = slots[slots.make()];
      EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(&wide) % 256);
   }
}

}  // namespace SlotsTest
}  // namespace routetrie::Impl
