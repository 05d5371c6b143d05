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
#include <vector>

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

TEST(Slots, whatIsLeftIsDestroyedWithThem) {
   const auto shared = std::make_shared<int>(5);
   {
      Slots<std::shared_ptr<int>> slots;
      std::vector<Number> numbers;
      for (int i = 0; i < 100; ++i) {
         numbers.push_back(slots.make(shared));
      }
      for (int i = 0; i < 100; i += 3) {
         slots.destroy(numbers[static_cast<std::size_t>(i)]);
      }
      slots.make(shared);
      EXPECT_EQ(1 + 100 - 34 + 1, shared.use_count());
      Slots<std::shared_ptr<int>> copies;  // that something stopped halfway
      copies.reserveAs(slots);
      copies.makeAt(70, shared);
      EXPECT_EQ(1 + 100 - 34 + 2, shared.use_count());
   }
   EXPECT_EQ(1, shared.use_count());
}

TEST(Slots, anOlderDirectoryStaysGoodForWhatItKnows) {
   Slots<std::string> slots;
   const Number first = slots.make("first");
   const auto before = slots.directory();
   for (int i = 0; i < 5000; ++i) {
      slots.make("more");
   }
   EXPECT_NE(before, slots.directory());
   EXPECT_EQ("first", Slots<std::string>::at(before, first));
   EXPECT_EQ(&slots[first], &Slots<std::string>::at(before, first));
}

TEST(Slots, theEpochOfAFillingIsKept) {
   Slots<int> slots;
   std::vector<Number> old;
   for (int i = 0; i < 30; ++i) {
      old.push_back(slots.make(i));
   }
   slots.begin(7);
   const Number fresh = slots.make(1);
   slots.destroy(old[3]);
   slots.begin(9);
   EXPECT_EQ(old[3], slots.make(2));
   EXPECT_EQ(0u, slots.epochOf(old[0]));
   EXPECT_EQ(7u, slots.epochOf(fresh));
   EXPECT_EQ(9u, slots.epochOf(old[3]));
}

TEST(Slots, copiesFreeWhatWasNotCopied) {
   Slots<int> from;
   for (int i = 0; i < 20; ++i) {
      from.make(i);
   }
   Slots<int> to;
   to.reserveAs(from);
   std::vector<bool> taken(from.everFilled());
   for (const Number number : {2u, 9u, 17u}) {
      to.makeAt(number, from[number]);
      taken[number] = true;
   }
   to.freeBut(from, taken);
   std::set<Number> made;
   for (int i = 0; i < 17; ++i) {
      made.insert(to.make(100));
   }
   EXPECT_EQ(17u, made.size());
   EXPECT_EQ(19u, *made.rbegin()) << "no number is lost";
   EXPECT_EQ(9, to[9]);
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
