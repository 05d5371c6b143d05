#include "routetrie/platform/Corvid/Create.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <stdexcept>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Tesk/AllocTrack.h"
#include "tests/property/LiveCounts.h"

namespace CreateTest {

using Corvid::Node;
using Corvid::nodeFlagAlive;
using Corvid::Ptr;
using Corvid::ptrIsImpl;
using Property::LiveCounts;

// Counted by itself.
class Counted : public Node {
  public:
   Counted() = default;
   Counted(int number, std::unique_ptr<int> owned) : number_(number), owned_(std::move(owned)) {}
   ~Counted() override { nodeFlagSet(nodeFlagAlive, false); }

   static inline Tesk::AllocTrackTypeInfo* memAllocationTracker_ = nullptr;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<Counted>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<Counted>(memory, bytes);
   }

   int number_ = 0;
   std::unique_ptr<int> owned_;
};

// Counted by its base, with its own size.
class Larger : public Counted {
  public:
   ~Larger() override { nodeFlagSet(nodeFlagAlive, false); }
   char more[100] = {};
};

// Counted by itself, and not by its base.
class CountedApart : public Counted {
  public:
   ~CountedApart() override { nodeFlagSet(nodeFlagAlive, false); }
   static inline Tesk::AllocTrackTypeInfo* memAllocationTracker_ = nullptr;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<CountedApart>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<CountedApart>(memory, bytes);
   }
};

// Sees to its memory itself, and is counted by its base: its own operators count nothing.
class OnTheHeap : public Counted {
  public:
   ~OnTheHeap() override { nodeFlagSet(nodeFlagAlive, false); }
   static void* operator new(std::size_t bytes) { return ::operator new(bytes); }
   static void operator delete(void* memory, std::size_t) noexcept { ::operator delete(memory); }
};

// Trackers and operators of a class from a template.
template <class T, int n>
class CountedOf : public Counted {
  public:
   ~CountedOf() override { nodeFlagSet(nodeFlagAlive, false); }
   static inline Tesk::AllocTrackTypeInfo* memAllocationTracker_ = nullptr;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<CountedOf>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<CountedOf>(memory, bytes);
   }
};

// Declares the tracker alone. ptrIsImpl would refuse it, see tests/must_not_compile/.
class HalfCounted : public Counted {
  public:
   static inline Tesk::AllocTrackTypeInfo* memAllocationTracker_ = nullptr;
};
class BelowHalfCounted : public HalfCounted {};
class HalfCountedOnNode : public Node {
  public:
   static inline Tesk::AllocTrackTypeInfo* memAllocationTracker_ = nullptr;
};
class BelowHalfCountedOnNode : public HalfCountedOnNode {};
class WithoutDelete : public Counted {
  public:
   static inline Tesk::AllocTrackTypeInfo* memAllocationTracker_ = nullptr;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<WithoutDelete>(bytes); }
};

// The compiler's names, on which this rests, are the same for each kind of class.
static_assert(Corvid::Impl::operatorsGoWithTracker<Node>());
static_assert(Corvid::Impl::operatorsGoWithTracker<Counted>());
static_assert(Corvid::Impl::operatorsGoWithTracker<Larger>());
static_assert(Corvid::Impl::operatorsGoWithTracker<CountedApart>());
static_assert(Corvid::Impl::operatorsGoWithTracker<OnTheHeap>());
static_assert(Corvid::Impl::operatorsGoWithTracker<CountedOf<const long, 3>>());
static_assert(!Corvid::Impl::operatorsGoWithTracker<HalfCounted>());
static_assert(Corvid::Impl::operatorsGoWithTracker<BelowHalfCounted>(), "its base is told when it is made itself");
static_assert(!Corvid::Impl::operatorsGoWithTracker<HalfCountedOnNode>());
static_assert(!Corvid::Impl::operatorsGoWithTracker<BelowHalfCountedOnNode>());
static_assert(!Corvid::Impl::operatorsGoWithTracker<WithoutDelete>());

// Its constructor makes another object and then raises.
class Refusing : public Counted {
  public:
   explicit Refusing(bool refuses) : part_(ptrIsImpl<Counted>()) {
      if (refuses) {
         throw std::runtime_error("refused");
      }
   }
   ~Refusing() override { nodeFlagSet(nodeFlagAlive, false); }

  private:
   Ptr<Counted> part_;
};

std::uint64_t liveObjects(const Tesk::AllocTrackTypeInfo* tracker) {
   return tracker == nullptr ? 0 : tracker->liveObjects();
}
std::uint64_t liveBytes(const Tesk::AllocTrackTypeInfo* tracker) {
   return tracker == nullptr ? 0 : tracker->liveBytes();
}

TEST(Create, aNewObjectIsHeldByItsOneReferenceAndCounted) {
   const LiveCounts before;
   {
      const auto object = ptrIsImpl<Counted>();
      static_assert(std::is_same_v<decltype(object), const Ptr<Counted>>);
      EXPECT_EQ(1u, object->uses());
      ASSERT_NE(nullptr, Counted::memAllocationTracker_);
      EXPECT_EQ(1u, liveObjects(Counted::memAllocationTracker_));
      EXPECT_EQ(sizeof(Counted), liveBytes(Counted::memAllocationTracker_));
      EXPECT_EQ("CreateTest::Counted", Counted::memAllocationTracker_->typeName());
   }
   EXPECT_EQ("", before.changes());
   EXPECT_EQ(0u, liveObjects(Counted::memAllocationTracker_));
}

TEST(Create, passesArgumentsOn) {
   const auto object = ptrIsImpl<Counted>(42, std::make_unique<int>(43));
   EXPECT_EQ(42, object->number_);
   EXPECT_EQ(43, *object->owned_);
}

TEST(Create, aClassWithoutATrackerCountsOnItsBase) {
   const LiveCounts before;
   {
      const auto larger = ptrIsImpl<Larger>();
      EXPECT_EQ(1u, liveObjects(Counted::memAllocationTracker_));
      EXPECT_EQ(sizeof(Larger), liveBytes(Counted::memAllocationTracker_));
      const auto counted = ptrIsImpl<Counted>();
      EXPECT_EQ(2u, liveObjects(Counted::memAllocationTracker_));
      EXPECT_EQ(sizeof(Larger) + sizeof(Counted), liveBytes(Counted::memAllocationTracker_));
   }
   EXPECT_EQ("", before.changes());
}

TEST(Create, releaseIsCountedWhereTheAllocationWas) {
   const LiveCounts before;
   {
      const Ptr<Node> apart = ptrIsImpl<CountedApart>();  // destroyed through the base
      EXPECT_EQ(1u, liveObjects(CountedApart::memAllocationTracker_));
      EXPECT_EQ(0u, liveObjects(Counted::memAllocationTracker_));
      const Ptr<Node> larger = ptrIsImpl<Larger>();
      EXPECT_EQ(1u, liveObjects(Counted::memAllocationTracker_));
   }
   EXPECT_EQ(0u, liveObjects(CountedApart::memAllocationTracker_));
   EXPECT_EQ(0u, liveBytes(CountedApart::memAllocationTracker_));
   EXPECT_EQ(0u, liveBytes(Counted::memAllocationTracker_));
   EXPECT_EQ("", before.changes());
}

TEST(Create, aConstructorThatRaisesLeavesNothingBehind) {
   ptrIsImpl<Refusing>(false);  // the trackers are there
   const LiveCounts before;
   const auto slab = CoreSlab::stats();
   const std::uint64_t allocations = Counted::memAllocationTracker_->totalAllocations();
   for (int i = 0; i < 10; ++i) {
      try {
         ptrIsImpl<Refusing>(true);
         FAIL() << "nothing was raised";
      } catch (const std::runtime_error& fault) {
         EXPECT_STREQ("refused", fault.what());
      }
   }
   EXPECT_EQ(allocations + 20, Counted::memAllocationTracker_->totalAllocations())
      << "each was counted, and its part";
   EXPECT_EQ("", before.changes());
   EXPECT_EQ(slab.liveBlocks, CoreSlab::stats().liveBlocks);
   EXPECT_EQ(slab.liveBytes, CoreSlab::stats().liveBytes);
}

TEST(Create, memoryIsFromTheSlab) {
   const auto before = CoreSlab::stats();
   {
      const auto object = ptrIsImpl<Larger>();
      EXPECT_EQ(before.liveBlocks + 1, CoreSlab::stats().liveBlocks);
      EXPECT_GE(CoreSlab::stats().liveBytes, before.liveBytes + sizeof(Larger));
   }
   EXPECT_EQ(before.liveBlocks, CoreSlab::stats().liveBlocks);
}

#ifdef ROUTETRIE_FAULT_INJECTION
TEST(Create, withoutMemoryNothingIsLeftBehind) {
   ptrIsImpl<Refusing>(false);
   const LiveCounts before;
   CoreSlab::failAt(1);
   EXPECT_THROW(ptrIsImpl<Counted>(), std::bad_alloc);
   CoreSlab::failAt(2);
   EXPECT_THROW(ptrIsImpl<Refusing>(false), std::bad_alloc) << "the object is there, its part is not";
   CoreSlab::failAt(0);
   EXPECT_EQ("", before.changes());
}
#endif

}  // namespace CreateTest
