#include "routetrie/platform/Corvid/Publisher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"

namespace PublisherTest {

using Corvid::Change;
using Corvid::FieldId;
using Corvid::Publisher;
using Corvid::Subscription;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(!std::is_copy_constructible_v<Subscription> && std::is_nothrow_move_constructible_v<Subscription>);
static_assert(!std::is_copy_constructible_v<Publisher>);

// An object with one published number, 130.
class Counter : public Corvid::Node {
  public:
   ~Counter() override { nodeFlagSet(Corvid::nodeFlagAlive, false); }
   Publisher* publisher() const override { return &publisher_; }
   int value() const { return value_; }
   void valueIs(int value) { publisher_.attributeIs(130, value_, value); }

  private:
   int value_ = 0;
   mutable Publisher publisher_;
};

TEST(Publisher, aNodeHasNone) {
   class Plain : public Corvid::Node {};
   EXPECT_EQ(nullptr, Corvid::ptrIsImpl<Plain>()->publisher());
}

TEST(Publisher, withoutWatchersNothingHappens) {
   Publisher publisher;
   publisher.publishChangeRecursive(130, nullptr, nullptr, nullptr);
   EXPECT_FALSE(publisher.hasWatchers());
}

TEST(Publisher, tellsIdKeyOldValueAndComparison) {
   Publisher publisher;
   const int key = 7;
   const int old = 8;
   const auto equal = [](const void* a, const void* b) { return a == b; };
   std::vector<Change> changes;
   const Subscription watch = publisher.subscribe([&](const Change& change) { changes.push_back(change); });
   publisher.publishChangeRecursive(262, &key, &old, equal);
   ASSERT_EQ(1u, changes.size());
   EXPECT_EQ(262, changes[0].id);
   EXPECT_EQ(&key, changes[0].key);
   EXPECT_EQ(&old, changes[0].oldValue);
   EXPECT_EQ(+equal, changes[0].equal);
}

TEST(Publisher, aSetterStoresFirstAndPublishesOnlyAChange) {
   const auto counter = Corvid::ptrIsImpl<Counter>();
   std::vector<std::pair<int, int>> oldAndNew;
   const Subscription watch = counter->publisher()->subscribe([&](const Change& change) {
      EXPECT_EQ(130, change.id);
      oldAndNew.emplace_back(*static_cast<const int*>(change.oldValue), counter->value());
   });
   counter->valueIs(0);
   EXPECT_THAT(oldAndNew, IsEmpty());
   counter->valueIs(5);
   counter->valueIs(5);
   counter->valueIs(6);
   EXPECT_THAT(oldAndNew, ElementsAre(std::pair(0, 5), std::pair(5, 6)));
}

TEST(Publisher, aPointerSetterReleasesTheOldValueLast) {
   Publisher publisher;
   auto first = Corvid::ptrIsImpl<Counter>();
   auto attribute = first;
   U32 usesWhileTold = 0;
   const Subscription watch = publisher.subscribe([&](const Change& change) {
      const auto* old = static_cast<const Corvid::Ptr<Counter>*>(change.oldValue);
      EXPECT_EQ(first, *old);
      usesWhileTold = first->uses();
   });
   publisher.attributeIs(144, attribute, Corvid::Ptr<Counter>());
   EXPECT_EQ(2u, usesWhileTold);
   EXPECT_EQ(1u, first->uses());
}

TEST(Publisher, aPulseShowsTheValueAndRests) {
   Publisher publisher;
   int attribute = 0;
   std::vector<std::pair<int, int>> oldAndNew;
   Subscription watch = publisher.subscribe(
      [&](const Change& change) { oldAndNew.emplace_back(*static_cast<const int*>(change.oldValue), attribute); });
   publisher.pulse(133, attribute, 5, 0);
   publisher.pulse(133, attribute, 5, 0);
   publisher.pulse(133, attribute, 0, 0);
   EXPECT_THAT(oldAndNew, ElementsAre(std::pair(0, 5), std::pair(0, 5)));
   EXPECT_EQ(0, attribute);
   watch = publisher.subscribe([](const Change&) { throw std::runtime_error("no more"); });
   EXPECT_THROW(publisher.pulse(133, attribute, 5, 0), std::runtime_error);
   EXPECT_EQ(0, attribute);
}

TEST(Publisher, tellsInOrderOfSubscription) {
   Publisher publisher;
   std::string told;
   const Subscription a = publisher.subscribe([&](const Change&) { told += 'a'; });
   std::optional<Subscription> b = publisher.subscribe([&](const Change&) { told += 'b'; });
   const Subscription c = publisher.subscribe([&](const Change&) { told += 'c'; });
   publisher.publishChangeRecursive(1, nullptr, nullptr, nullptr);
   EXPECT_EQ("abc", told);
   b.reset();
   const Subscription d = publisher.subscribe([&](const Change&) { told += 'd'; });
   told.clear();
   publisher.publishChangeRecursive(1, nullptr, nullptr, nullptr);
   EXPECT_EQ("acd", told);
}

TEST(Subscription, endsWhenDestroyedResetOrReplaced) {
   Publisher publisher;
   int told = 0;
   const auto count = [&](const Change&) { ++told; };
   const auto tellAndCount = [&] {
      told = 0;
      publisher.publishChangeRecursive(1, nullptr, nullptr, nullptr);
      return told;
   };
   {
      const Subscription shortLived = publisher.subscribe(count);
      EXPECT_EQ(1, tellAndCount());
   }
   EXPECT_EQ(0, tellAndCount());
   EXPECT_FALSE(publisher.hasWatchers());

   Subscription watch = publisher.subscribe(count);
   EXPECT_TRUE(watch.isActive());
   Subscription moved = std::move(watch);
   EXPECT_EQ(1, tellAndCount());
   Subscription& same = moved;
   moved = std::move(same);
   EXPECT_EQ(1, tellAndCount()) << "assigned to itself";
   moved = publisher.subscribe(count);
   EXPECT_EQ(1, tellAndCount()) << "the one replaced has ended";
   moved.reset();
   moved.reset();
   EXPECT_FALSE(moved.isActive());
   EXPECT_EQ(0, tellAndCount());
}

TEST(Subscription, outlivesItsPublisher) {
   Subscription watch;
   EXPECT_FALSE(watch.isActive());
   {
      Publisher publisher;
      watch = publisher.subscribe([](const Change&) {});
      EXPECT_TRUE(watch.isActive());
   }
   EXPECT_FALSE(watch.isActive());
   watch.reset();
}

//--- while a change is told ---

// Three watchers a, b and c. While b is told for the first time it does `act`; `told` says who was told, and how often.
class PublisherWhileTold : public testing::Test {
  protected:
   std::string publish() {
      told_.clear();
      publisher_->publishChangeRecursive(1, nullptr, nullptr, nullptr);
      return told_;
   }
   void subscribeAll(std::function<void()> act) {
      act_ = std::move(act);
      a_ = publisher_->subscribe([this](const Change&) { told_ += 'a'; });
      b_ = publisher_->subscribe([this, owned = std::make_shared<std::string>("b")](const Change&) {
         told_ += *owned;
         if (const auto once = std::exchange(act_, nullptr)) {
            once();
         }
         told_ += *owned == "b" ? "." : "the watcher died while it was told";
      });
      c_ = publisher_->subscribe([this](const Change&) { told_ += 'c'; });
   }

   std::unique_ptr<Publisher> publisher_ = std::make_unique<Publisher>();
   std::function<void()> act_;
   std::string told_;
   Subscription a_, b_, c_, d_;
};

TEST_F(PublisherWhileTold, itMayEndItself) {
   subscribeAll([this] { b_.reset(); });
   EXPECT_EQ("ab.c", publish());
   EXPECT_EQ("ac", publish());
}

TEST_F(PublisherWhileTold, itMayEndTheOneBefore) {
   subscribeAll([this] { a_.reset(); });
   EXPECT_EQ("ab.c", publish());
   EXPECT_EQ("b.c", publish());
}

TEST_F(PublisherWhileTold, itMayEndTheOneAfter) {
   subscribeAll([this] { c_.reset(); });
   EXPECT_EQ("ab.", publish());
   EXPECT_EQ("ab.", publish());
}

TEST_F(PublisherWhileTold, itMayEndAll) {
   subscribeAll([this] {
      c_.reset();
      b_.reset();
      a_.reset();
   });
   EXPECT_EQ("ab.", publish());
   EXPECT_EQ("", publish());
   EXPECT_FALSE(publisher_->hasWatchers());
}

TEST_F(PublisherWhileTold, aNewcomerIsToldOfLaterChangesOnly) {
   subscribeAll([this] { d_ = publisher_->subscribe([this](const Change&) { told_ += 'd'; }); });
   EXPECT_EQ("ab.c", publish());
   EXPECT_EQ("ab.cd", publish());
}

TEST_F(PublisherWhileTold, aNewcomerInPlaceOfTheLastIsNotTold) {
   subscribeAll([this] {
      c_.reset();
      d_ = publisher_->subscribe([this](const Change&) { told_ += 'd'; });
   });
   EXPECT_EQ("ab.", publish());
   EXPECT_EQ("ab.d", publish());
}

TEST_F(PublisherWhileTold, anInnerChangeIsToldFirst) {
   subscribeAll([this] {
      told_ += '(';
      publisher_->publishChangeRecursive(2, nullptr, nullptr, nullptr);
      told_ += ')';
   });
   EXPECT_EQ("ab(ab.c).c", publish());
}

TEST_F(PublisherWhileTold, oneEndedInAnInnerChangeIsNotToldOfTheOuter) {
   subscribeAll([this] {
      act_ = [this] { c_.reset(); };
      publisher_->publishChangeRecursive(2, nullptr, nullptr, nullptr);
   });
   EXPECT_EQ("abab..", publish());
}

TEST_F(PublisherWhileTold, thePublisherMayEnd) {
   subscribeAll([this] {
      // Two changes are being told, and both end.
      act_ = [this] { publisher_.reset(); };
      publisher_->publishChangeRecursive(2, nullptr, nullptr, nullptr);
   });
   EXPECT_EQ("abab..", publish());
   EXPECT_FALSE(b_.isActive());
}

TEST_F(PublisherWhileTold, whatAWatcherRaisesPassesAndLeavesAllSound) {
   subscribeAll([] { throw std::runtime_error("no more"); });
   EXPECT_THROW(publish(), std::runtime_error);
   EXPECT_EQ("ab", told_);
   EXPECT_EQ("ab.c", publish());
   b_.reset();
   EXPECT_EQ("ac", publish());
}

}  // namespace PublisherTest
