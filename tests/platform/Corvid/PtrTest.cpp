#include "routetrie/platform/Corvid/Ptr.h"

#include <gtest/gtest.h>

#include <functional>
#include <type_traits>
#include <unordered_set>
#include <vector>

#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"
#include "tests/property/LiveCounts.h"

namespace PtrTest {

using Corvid::Node;
using Corvid::nodeFlagAlive;
using Corvid::Ptr;
using Corvid::ptrIsImpl;
using Property::LiveCounts;

struct Base : Node {
   ~Base() override { nodeFlagSet(nodeFlagAlive, false); }
   int number = 7;
};
struct Derived : Base {
   ~Derived() override { nodeFlagSet(nodeFlagAlive, false); }
};
struct Unrelated : Node {
   ~Unrelated() override { nodeFlagSet(nodeFlagAlive, false); }
};

// Every test leaves as many objects as it found.
class PtrTest : public testing::Test {
  protected:
   void TearDown() override { EXPECT_EQ("", before_.changes()); }

  private:
   LiveCounts before_;
};

TEST_F(PtrTest, isOneWord) { static_assert(sizeof(Ptr<Base>) == sizeof(void*)); }

TEST_F(PtrTest, isNullByDefault) {
   const Ptr<Base> null;
   const Ptr<Base> fromNullptr(nullptr);
   const Ptr<Base> fromRaw(static_cast<Base*>(nullptr));
   for (const auto* ptr : {&null, &fromNullptr, &fromRaw}) {
      EXPECT_FALSE(bool(*ptr));
      EXPECT_EQ(nullptr, ptr->get());
      EXPECT_TRUE(*ptr == nullptr);
   }
   const Ptr<Base> copy(null);
   EXPECT_TRUE(copy == null);
}

TEST_F(PtrTest, theFirstAdoptsTheReferenceOfANewObject) {
   const auto first = ptrIsImpl<Base>();
   EXPECT_EQ(1u, first->uses());
   EXPECT_TRUE(bool(first));
   EXPECT_FALSE(first == nullptr);
   EXPECT_EQ(7, first->number);
   EXPECT_EQ(7, (*first).number);
}

TEST_F(PtrTest, oneMadeFromARawPointerAddsItsOwn) {
   const auto first = ptrIsImpl<Base>();
   {
      const Ptr<Base> second(first.get());
      EXPECT_EQ(2u, first->uses());
      const Ptr<Base> third = first.get();
      EXPECT_EQ(3u, first->uses());
   }
   EXPECT_EQ(1u, first->uses());
}

TEST_F(PtrTest, adoptTakesOverTheCallersReference) {
   Base* raw = ptrIsImpl<Base>().release();
   EXPECT_EQ(1u, raw->uses());
   const auto adopted = Ptr<Base>::adopt(raw);
   EXPECT_EQ(1u, raw->uses());
   EXPECT_EQ(raw, adopted.get());
   EXPECT_EQ(nullptr, Ptr<Base>::adopt(nullptr).get());
}

TEST_F(PtrTest, releaseHandsTheReferenceOver) {
   auto ptr = ptrIsImpl<Base>();
   Base* raw = ptr.release();
   EXPECT_TRUE(ptr == nullptr);
   EXPECT_EQ(1u, raw->uses());
   raw->decUseImpl();
   EXPECT_EQ(nullptr, ptr.release());
}

TEST_F(PtrTest, copiesCount) {
   const auto first = ptrIsImpl<Base>();
   std::vector<Ptr<Base>> copies(10, first);
   EXPECT_EQ(11u, first->uses());
   copies.resize(3);
   EXPECT_EQ(4u, first->uses());
   copies.clear();
   EXPECT_EQ(1u, first->uses());
}

TEST_F(PtrTest, movesDoNot) {
   auto first = ptrIsImpl<Base>();
   Ptr<Base> second(std::move(first));
   EXPECT_TRUE(first == nullptr);
   EXPECT_EQ(1u, second->uses());
   first = std::move(second);
   EXPECT_TRUE(second == nullptr);
   EXPECT_EQ(1u, first->uses());
}

TEST_F(PtrTest, assignmentGivesTheOldObjectUp) {
   const auto a = ptrIsImpl<Base>();
   const auto b = ptrIsImpl<Base>();
   Ptr<Base> ptr = a;
   ptr = b;
   EXPECT_EQ(1u, a->uses());
   EXPECT_EQ(2u, b->uses());
   ptr = a.get();
   EXPECT_EQ(2u, a->uses());
   EXPECT_EQ(1u, b->uses());
   ptr = nullptr;
   EXPECT_EQ(1u, a->uses());
   ptr = ptrIsImpl<Derived>();
   EXPECT_EQ(1u, ptr->uses());
}

TEST_F(PtrTest, assignmentToItself) {
   auto ptr = ptrIsImpl<Base>();
   ptr = *&ptr;
   EXPECT_EQ(1u, ptr->uses());
   ptr = std::move(*&ptr);
   ASSERT_TRUE(bool(ptr));
   EXPECT_EQ(1u, ptr->uses());
   ptr = ptr.get();
   EXPECT_EQ(1u, ptr->uses());
}

// The old object's destructor may look at the pointer that let it go: it holds the new value by then.
TEST_F(PtrTest, theOldObjectGoesAfterTheNewOneIsHeld) {
   struct Looking : Base {
      ~Looking() override {
         nodeFlagSet(nodeFlagAlive, false);
         *seen = place->get();
      }
      Ptr<Base>* place = nullptr;
      Base** seen = nullptr;
   };
   Base* seen = nullptr;
   Ptr<Base> place;
   {
      auto looking = ptrIsImpl<Looking>();
      looking->place = &place;
      looking->seen = &seen;
      place = looking;
   }
   const auto other = ptrIsImpl<Base>();
   place = other;
   EXPECT_EQ(other.get(), seen);
}

TEST_F(PtrTest, convertsToBaseAndToConst) {
   const auto derived = ptrIsImpl<Derived>();
   const Ptr<Base> base = derived;
   EXPECT_EQ(2u, derived->uses());
   const Ptr<const Derived> constant = derived;
   const Ptr<const Node> node = base;
   EXPECT_EQ(4u, derived->uses());
   EXPECT_TRUE(base == derived);
   EXPECT_TRUE(constant == derived);
   EXPECT_TRUE(node == base);
   Ptr<Base> assigned;
   assigned = derived;
   EXPECT_EQ(5u, derived->uses());
   Ptr<Derived> leaving = derived;
   const Ptr<Base> arrived = std::move(leaving);
   EXPECT_TRUE(leaving == nullptr);
   EXPECT_EQ(6u, derived->uses());
}

TEST_F(PtrTest, convertsToNothingElse) {
   static_assert(!std::is_convertible_v<Ptr<Base>, Ptr<Derived>>);
   static_assert(!std::is_constructible_v<Ptr<Derived>, Ptr<Base>>);
   static_assert(!std::is_constructible_v<Ptr<Base>, Ptr<const Base>>);
   static_assert(!std::is_constructible_v<Ptr<Base>, Ptr<Unrelated>>);
   static_assert(!std::is_convertible_v<Ptr<Base>, bool>);
   static_assert(!std::is_convertible_v<Ptr<Base>, Base*>);
}

TEST_F(PtrTest, theLastReferenceMayBeOneToConst) {
   Ptr<const Base> constant = ptrIsImpl<Base>();
   EXPECT_EQ(1u, constant->uses());
   const Ptr<const Base> copy = constant;
   EXPECT_EQ(2u, constant->uses());
}

TEST_F(PtrTest, comparesByIdentity) {
   const auto a = ptrIsImpl<Base>();
   const auto b = ptrIsImpl<Base>();
   EXPECT_TRUE(a == a);
   EXPECT_TRUE(a != b);
   EXPECT_TRUE(a == a.get());
   EXPECT_TRUE(a.get() == a);
   EXPECT_TRUE(a != b.get());
   EXPECT_TRUE(a != nullptr);
   EXPECT_TRUE(nullptr != a);
   EXPECT_EQ(1u, a->uses());
}

TEST_F(PtrTest, swaps) {
   auto a = ptrIsImpl<Base>();
   Ptr<Base> b;
   Base* raw = a.get();
   a.swap(b);
   EXPECT_TRUE(a == nullptr);
   EXPECT_EQ(raw, b.get());
   EXPECT_EQ(1u, raw->uses());
}

TEST_F(PtrTest, isAKey) {
   const auto a = ptrIsImpl<Base>();
   const std::unordered_set<Ptr<Base>> set{a, a, ptrIsImpl<Base>(), nullptr};
   EXPECT_EQ(3u, set.size());
   EXPECT_EQ(std::hash<Base*>()(a.get()), std::hash<Ptr<Base>>()(a));
}

}  // namespace PtrTest
