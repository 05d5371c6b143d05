#include "routetrie/platform/Tesk/HashMap2018.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <vector>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Tesk/HashHelper.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/Scale.h"

namespace HashMap2018Test {

using testing::ElementsAre;
using testing::IsEmpty;

// An object that knows its key, as the members of collections do.
class Entry : public Corvid::Node {
  public:
   explicit Entry(U32 number) : number_(number) {}
   ~Entry() override {
      nodeFlagSet(Corvid::nodeFlagAlive, false);
      if (atEnd) {
         atEnd();
      }
   }
   const U32& number() const { return number_; }
   std::function<void()> atEnd;

  private:
   U32 number_;
};

struct HN_Entry : Tesk::HashMap2018Link {
   explicit HN_Entry(Corvid::Ptr<Entry> theEntry) : entry(std::move(theEntry)) {}
   const U32& key() const { return entry->number(); }
   Corvid::Ptr<Entry>& value() { return entry; }
   Corvid::Ptr<Entry> entry;
};
using Entries = Tesk::HashMap2018<HN_Entry, U32, Corvid::Ptr<Entry>>;
using EntryIterator = Tesk::HashMap2018Iterator<HN_Entry>;

struct HN_Number : Tesk::HashMap2018Link {
   explicit HN_Number(U32 theNumber) : number(theNumber) {}
   const U32& key() const { return number; }
   U32 number;
};
using Numbers = Tesk::HashMap2018<HN_Number, U32, void>;
using NumberIterator = Tesk::HashMap2018Iterator<HN_Number>;

U32 hashOf(U32 key) { return Tesk::hashSingleAttr(Tesk::HashHelper::hashSeed32() ^ 3940462150u, key); }

Corvid::Ptr<Entry> add(Entries& entries, U32 number) {
   return entries.newMember(std::make_unique<HN_Entry>(Corvid::ptrIsImpl<Entry>(number)), hashOf(number)).entry;
}
void add(Numbers& numbers, U32 number) { numbers.newMember(std::make_unique<HN_Number>(number), hashOf(number)); }
void remove(Numbers& numbers, U32 number) { EXPECT_TRUE(numbers.deleteMember(number, hashOf(number))); }

std::vector<U32> contents(Numbers& numbers) {
   std::vector<U32> result;
   for (NumberIterator i(numbers); i.currNodeNonStale() != nullptr; i.advance()) {
      result.push_back(i.currNodeNonStale()->number);
   }
   return result;
}

TEST(HashHelper, oneSeedAProcess) {
   EXPECT_EQ(Tesk::HashHelper::hashSeed32(), Tesk::HashHelper::hashSeed32());
   EXPECT_EQ(Tesk::hashSingleAttr(1, 2), Tesk::hashSingleAttr(1, 2));
   EXPECT_NE(Tesk::hashSingleAttr(1, 2), Tesk::hashSingleAttr(1, 3));
   EXPECT_NE(Tesk::hashSingleAttr(1, 2), Tesk::hashSingleAttr(2, 2));
   EXPECT_NE(Tesk::hashSingleAttr(1, 0), Tesk::hashSingleAttr(2, 0));
}

TEST(HashMap2018, beginsEmptyAndHoldsNothing) {
   const Property::LiveCounts before;
   Entries entries;
   EXPECT_EQ("", before.changes());
   EXPECT_EQ(0u, entries.memberCount());
   EXPECT_EQ(nullptr, entries.lookup(7, hashOf(7)));
   EXPECT_FALSE(entries.deleteMember(7, hashOf(7)));
   EXPECT_EQ(nullptr, EntryIterator(entries).currNodeMaybeStale());
   entries.memberDelAll();
}

TEST(HashMap2018, addFindDelete) {
   Entries entries;
   const auto seven = add(entries, 7);
   add(entries, 8);
   EXPECT_EQ(2u, entries.memberCount());
   ASSERT_NE(nullptr, entries.lookup(7, hashOf(7)));
   EXPECT_EQ(seven, entries.lookup(7, hashOf(7))->entry);
   EXPECT_EQ(nullptr, entries.lookup(9, hashOf(9)));
   EXPECT_EQ(2u, seven->uses());

   Corvid::Ptr<Entry> out;
   EXPECT_TRUE(entries.deleteMember(7, hashOf(7), &out));
   EXPECT_EQ(seven, out);
   EXPECT_EQ(2u, seven->uses()) << "the map's reference went over";
   EXPECT_FALSE(entries.deleteMember(7, hashOf(7), &out));
   EXPECT_EQ(seven, out);
   EXPECT_EQ(1u, entries.memberCount());
}

TEST(HashMap2018, aDeletedMembersReferenceIsDroppedIfNobodyWantsIt) {
   Entries entries;
   const auto seven = add(entries, 7);
   EXPECT_TRUE(entries.deleteMember(7, hashOf(7)));
   EXPECT_EQ(1u, seven->uses());
   const auto eight = add(entries, 8);
   entries.memberDelAll();
   EXPECT_EQ(1u, eight->uses());
}

TEST(HashMap2018, keysOfOneHashAreToldApart) {
   Numbers numbers;
   for (U32 i = 0; i < 5; ++i) {
      numbers.newMember(std::make_unique<HN_Number>(i), 77);
   }
   for (const U32 key : {2u, 4u, 0u}) {
      EXPECT_TRUE(numbers.deleteMember(key, 77));
      EXPECT_EQ(nullptr, numbers.lookup(key, 77));
   }
   EXPECT_EQ(nullptr, numbers.lookup(1, 78)) << "another hash is another key";
   EXPECT_THAT(contents(numbers), ElementsAre(1, 3));
}

TEST(HashMap2018, stateWord) {
   Numbers numbers;
   EXPECT_EQ(1u, numbers.state());
   add(numbers, 1);
   add(numbers, 2);
   EXPECT_EQ(2u << 8 | 1, numbers.state());
   add(numbers, 3);
   EXPECT_EQ(3u << 8 | 2, numbers.state()) << "twice the buckets";
   remove(numbers, 1);
   EXPECT_EQ(4u, numbers.changeNumber());
   EXPECT_FALSE(numbers.deleteMember(1, hashOf(1)));
   EXPECT_EQ(4u, numbers.changeNumber());
   numbers.memberDelAll();
   EXPECT_EQ(6u, numbers.changeNumber());

   const Numbers flagged(3, true);
   EXPECT_EQ(0x80000003, flagged.state());
}

TEST(HashMap2018, theChangeNumberWrapsWithinItsBits) {
   Numbers numbers(1, true);
   add(numbers, 0);
   for (U32 i = 1; i < 0x400000; ++i) {
      numbers.newMember(std::make_unique<HN_Number>(1), 1);
      numbers.deleteMember(1, 1);
   }
   EXPECT_EQ(0x7fffffu, numbers.changeNumber());
   add(numbers, 2);
   EXPECT_EQ(0u, numbers.changeNumber());
   EXPECT_EQ(0x80000001, numbers.state());
}

TEST(HashMap2018, iteratesInTheOrderOfComing) {
   Numbers numbers;
   std::vector<U32> added;
   for (U32 i = 0; i < 100; ++i) {
      added.push_back(i * 2654435761u);
      add(numbers, added.back());
   }
   EXPECT_EQ(added, contents(numbers));
}

TEST(HashMap2018Iterator, beginsAtAKey) {
   Numbers numbers;
   for (U32 i = 0; i < 5; ++i) {
      add(numbers, i);
   }
   NumberIterator i(numbers, 3u, hashOf(3));
   ASSERT_NE(nullptr, i.currNodeNonStale());
   EXPECT_EQ(3u, i.currNodeNonStale()->number);
   i.advance();
   EXPECT_EQ(4u, i.currNodeNonStale()->number);
   i.advance();
   EXPECT_EQ(nullptr, i.currNodeNonStale());
   i.advance();
   EXPECT_EQ(nullptr, i.currNodeMaybeStale());
   EXPECT_EQ(nullptr, NumberIterator(numbers, 9u, hashOf(9)).currNodeMaybeStale());
}

TEST(HashMap2018Iterator, survivesTheDeletionOfItsMember) {
   Numbers numbers;
   for (U32 i = 0; i < 4; ++i) {
      add(numbers, i);
   }
   NumberIterator i(numbers, 1u, hashOf(1));
   remove(numbers, 1);
   EXPECT_EQ(nullptr, i.currNodeNonStale());
   ASSERT_NE(nullptr, i.currNodeMaybeStale());
   EXPECT_EQ(1u, i.currNodeMaybeStale()->number);
   i.advance();
   ASSERT_NE(nullptr, i.currNodeNonStale());
   EXPECT_EQ(2u, i.currNodeNonStale()->number);
}

TEST(HashMap2018Iterator, theMembersAfterAStaleOneMayGoToo) {
   Numbers numbers;
   for (U32 i = 0; i < 5; ++i) {
      add(numbers, i);
   }
   NumberIterator i(numbers, 1u, hashOf(1));
   remove(numbers, 1);
   remove(numbers, 2);
   remove(numbers, 3);
   i.advance();
   ASSERT_NE(nullptr, i.currNodeNonStale());
   EXPECT_EQ(4u, i.currNodeNonStale()->number);
   remove(numbers, 4);
   i.advance();
   EXPECT_EQ(nullptr, i.currNodeMaybeStale());
}

TEST(HashMap2018Iterator, aKeyThatComesAgainIsANewMember) {
   Numbers numbers;
   add(numbers, 1);
   add(numbers, 2);
   NumberIterator i(numbers);
   remove(numbers, 1);
   add(numbers, 1);
   EXPECT_EQ(nullptr, i.currNodeNonStale());
   i.advance();
   EXPECT_EQ(2u, i.currNodeNonStale()->number);
   i.advance();
   EXPECT_EQ(1u, i.currNodeNonStale()->number);
}

TEST(HashMap2018Iterator, meetsWhatComesMeanwhile) {
   Numbers numbers;
   add(numbers, 0);
   U32 met = 0;
   for (NumberIterator i(numbers); i.currNodeNonStale() != nullptr; i.advance()) {
      EXPECT_EQ(met, i.currNodeNonStale()->number);
      ++met;
      if (met < 50) {
         add(numbers, met);  // the buckets grow several times
      }
   }
   EXPECT_EQ(50u, met);
}

TEST(HashMap2018Iterator, meetsWhatComesAfterTheLastOneWasDeleted) {
   Numbers numbers;
   add(numbers, 1);
   NumberIterator i(numbers);
   remove(numbers, 1);
   add(numbers, 2);
   i.advance();
   ASSERT_NE(nullptr, i.currNodeNonStale());
   EXPECT_EQ(2u, i.currNodeNonStale()->number);
}

TEST(HashMap2018Iterator, severalOnOneNode) {
   const Property::LiveCounts before;
   {
      Numbers numbers;
      add(numbers, 1);
      add(numbers, 2);
      std::optional<NumberIterator> a(std::in_place, numbers);
      NumberIterator b(numbers);
      NumberIterator c(numbers);
      remove(numbers, 1);
      EXPECT_EQ(1u, a->currNodeMaybeStale()->number);
      a.reset();
      EXPECT_EQ(1u, b.currNodeMaybeStale()->number);
      b.advance();
      EXPECT_EQ(2u, b.currNodeNonStale()->number);
      EXPECT_EQ(1u, c.currNodeMaybeStale()->number);
   }
   EXPECT_EQ("", before.changes());
}

TEST(HashMap2018Iterator, mayOutliveTheMap) {
   auto numbers = std::make_unique<Numbers>();
   add(*numbers, 1);
   add(*numbers, 2);
   NumberIterator onFirst(*numbers);
   NumberIterator atEnd(*numbers, 9u, hashOf(9));
   numbers.reset();
   EXPECT_EQ(nullptr, onFirst.currNodeNonStale());
   EXPECT_EQ(1u, onFirst.currNodeMaybeStale()->number);
   onFirst.advance();
   EXPECT_EQ(nullptr, onFirst.currNodeMaybeStale());
   atEnd.advance();
}

TEST(HashMap2018Iterator, emptyingIsMetAsTheEnd) {
   Numbers numbers;
   for (U32 i = 0; i < 4; ++i) {
      add(numbers, i);
   }
   NumberIterator i(numbers, 1u, hashOf(1));
   numbers.memberDelAll();
   EXPECT_EQ(nullptr, i.currNodeNonStale());
   i.advance();
   EXPECT_EQ(nullptr, i.currNodeMaybeStale());
   add(numbers, 9);
   EXPECT_THAT(contents(numbers), ElementsAre(9));
}

// What a member's end does may come back to the map.
TEST(HashMap2018, aMembersEndMayCallTheMap) {
   Entries entries;
   add(entries, 1)->atEnd = [&] {
      EXPECT_EQ(nullptr, entries.lookup(1, hashOf(1)));
      add(entries, 2);
   };
   EXPECT_TRUE(entries.deleteMember(1, hashOf(1)));
   EXPECT_EQ(1u, entries.memberCount());
   entries.lookup(2, hashOf(2))->entry->atEnd = [&] { EXPECT_EQ(0u, entries.memberCount()); };
}

TEST(HashMap2018, emptyAllBucketsGivesTheStorageBack) {
   const Property::LiveCounts before;
   Numbers numbers;
   for (U32 i = 0; i < 1000; ++i) {
      add(numbers, i);
   }
   numbers.emptyAllBuckets(Numbers::descriptor, true);
   EXPECT_EQ("", before.changes());
   add(numbers, 5);
   EXPECT_THAT(contents(numbers), ElementsAre(5)) << "usable again";
}

#ifdef ROUTETRIE_FAULT_INJECTION
TEST(HashMap2018, outOfMemoryLeavesTheMapAsItWas) {
   Numbers numbers;
   CoreSlab::failAt(2);  // the first is the node's
   EXPECT_THROW(add(numbers, 1), std::bad_alloc);
   CoreSlab::failAt(0);
   EXPECT_EQ(0u, numbers.memberCount());
   add(numbers, 1);
   add(numbers, 2);
   CoreSlab::failAt(2);
   add(numbers, 3);  // the chains get longer instead
   CoreSlab::failAt(0);
   EXPECT_EQ(1u, numbers.state() & 0xff);
   EXPECT_THAT(contents(numbers), ElementsAre(1, 2, 3));
}
#endif

// Against std::set and an iteration by hand: an iterator passes each member that was there all along exactly once.
TEST(HashMap2018, behavesAsASet) {
   std::mt19937_64 random(Property::seed());
   const Property::LiveCounts before;
   {
      Numbers numbers;
      std::set<U32> oracle;
      std::optional<NumberIterator> iterator;
      std::set<U32> due;  // members that the iterator has still to meet
      for (int step = 0; step < Property::sized(20000, 80000, 2000000); ++step) {
         const std::uint64_t r = random();
         const U32 key = static_cast<U32>(r >> 32) % 200;
         if (r % 8 < 3) {
            if (oracle.insert(key).second) {
               ASSERT_EQ(nullptr, numbers.lookup(key, hashOf(key)));
               add(numbers, key);
               if (iterator && iterator->currNodeMaybeStale() != nullptr) {
                  due.insert(key);
               }
            } else {
               ASSERT_NE(nullptr, numbers.lookup(key, hashOf(key)));
            }
         } else if (r % 8 < 6) {
            const bool wasThere = oracle.erase(key) != 0;
            ASSERT_EQ(wasThere, numbers.deleteMember(key, hashOf(key)));
            due.erase(key);
         } else if (!iterator || iterator->currNodeMaybeStale() == nullptr) {
            ASSERT_THAT(due, IsEmpty());
            iterator.emplace(numbers);
            due = oracle;
            if (iterator->currNodeNonStale() != nullptr) {
               due.erase(iterator->currNodeNonStale()->number);
            }
         } else {
            iterator->advance();
            if (iterator->currNodeMaybeStale() != nullptr) {
               ASSERT_EQ(1u, due.erase(iterator->currNodeNonStale()->number)) << "met twice, or no member";
            }
         }
         ASSERT_EQ(oracle.size(), numbers.memberCount());
      }
      const auto all = contents(numbers);
      EXPECT_EQ(oracle, std::set<U32>(all.begin(), all.end()));
   }
   EXPECT_EQ("", before.changes());
}

}  // namespace HashMap2018Test
