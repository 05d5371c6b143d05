#include "routetrie/platform/Corvid/Node.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "tests/platform/Threads.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/Scale.h"

namespace NodeTest {

using Corvid::Node;
using Corvid::NodeFlag;
using Corvid::nodeFlagAlive;
using Corvid::Ptr;
using Corvid::ptrIsImpl;
using Property::LiveCounts;
using TestSupport::MultiThreaded;
using TestSupport::runThreads;

U32 wordAt(const Node& node, std::size_t offset) {
   U32 word;
   std::memcpy(&word, reinterpret_cast<const unsigned char*>(&node) + offset, sizeof word);
   return word;
}

// Counts the calls of lastUserGone(), and stays.
class Watched : public Node {
  public:
   ~Watched() override { nodeFlagSet(nodeFlagAlive, false); }
   void lastUserGone() override { ++goneCalls; }
   int goneCalls = 0;
};

TEST(Node, isTheVirtualTableACountAndFlags) {
   static_assert(sizeof(Node) == 16);
   const Watched node;
   EXPECT_EQ(1u, wordAt(node, 8)) << "a node is born with one reference";
   EXPECT_EQ(0x20000000u, wordAt(node, 12));
   EXPECT_EQ(1u, node.uses());
   EXPECT_TRUE(node.nodeFlag(nodeFlagAlive));
   EXPECT_EQ(0x20000000, nodeFlagAlive);
}

#if defined(__x86_64__)
// By the C++ ABI a pointer to a virtual member holds the slot's offset in the table, plus 1. The two destructors
// take the slots 0 and 1.
TEST(Node, orderOfVirtualSlots) {
   struct MemberPointer {
      std::uintptr_t slot;
      std::ptrdiff_t adjustment;
   };
   const auto slotOf = [](auto member) { return (std::bit_cast<MemberPointer>(member).slot - 1) / sizeof(void*); };
   EXPECT_EQ(2u, slotOf(&Node::lastUserGone));
   EXPECT_EQ(3u, slotOf(&Node::publisher));
   EXPECT_EQ(4u, slotOf(&Node::typeData));
}
#endif

TEST(Node, publishesNothingAndHasNoTypeByItself) {
   const Watched node;
   EXPECT_EQ(nullptr, node.publisher());
   EXPECT_EQ(nullptr, node.typeData().module);
   EXPECT_EQ(0, node.typeData().index);
}

TEST(Node, theLastReferenceCallsLastUserGone) {
   Watched node;
   node.incUse();
   node.incUse();
   EXPECT_EQ(3u, node.uses());
   node.decUseImpl();
   node.decUseImpl();
   EXPECT_EQ(1u, node.uses());
   EXPECT_EQ(0, node.goneCalls);
   node.decUseImpl();
   EXPECT_EQ(0u, node.uses());
   EXPECT_EQ(1, node.goneCalls);
}

// An object on its way out may drop a link to itself once more: the count wraps and nobody is called twice.
TEST(Node, belowZeroTheCountOnlyWraps) {
   for (const bool threads : {false, true}) {
      const MultiThreaded multiThreaded(threads);
      Watched node;
      node.decUseImpl();
      node.decUseImpl();
      EXPECT_EQ(0xffffffffu, node.uses());
      node.decUseImpl();
      EXPECT_EQ(0xfffffffeu, node.uses());
      EXPECT_EQ(1, node.goneCalls);
   }
}

// One that keeps itself, for a pool, may be given out again and hears of each end of its use.
TEST(Node, whoStaysIsCalledAtEachZero) {
   for (const bool threads : {false, true}) {
      const MultiThreaded multiThreaded(threads);
      Watched node;
      for (int round = 1; round <= 3; ++round) {
         node.decUseImpl();
         EXPECT_EQ(round, node.goneCalls);
         node.incUse();
      }
   }
}

// Takes and drops references to itself while it goes, in its destructor and in that of a member.
class Restless : public Node {
  public:
   explicit Restless(int& destroyed) : destroyed_(destroyed), member_{*this} {}
   ~Restless() override {
      ++destroyed_;
      takeAndDrop(*this);
      EXPECT_TRUE(nodeFlag(Corvid::nodeFlagEnding));
   }

  private:
   static void takeAndDrop(const Node& node) {
      for (int i = 0; i < 3; ++i) {
         const Ptr<const Node> held(&node);
         const Ptr<const Node> copy(held);
         EXPECT_EQ(2u, node.uses());
      }
   }
   struct Member {
      const Node& owner;
      ~Member() { takeAndDrop(owner); }
   };
   int& destroyed_;
   Member member_;
};

TEST(Node, isDestroyedOnceWhateverIsTakenMeanwhile) {
   for (const bool threads : {false, true}) {
      const MultiThreaded multiThreaded(threads);
      int destroyed = 0;
      { const auto node = ptrIsImpl<Restless>(destroyed); }
      EXPECT_EQ(1, destroyed);
   }
}

// Keeps the reference of its own that it takes while it goes.
class Clinging : public Node {
  public:
   explicit Clinging(Ptr<Node>& kept) : kept_(kept) {}
   ~Clinging() override { kept_ = Ptr<Node>(this); }

  private:
   Ptr<Node>& kept_;
};

TEST(NodeDeathTest, aReferenceThatOutlivesItsObject) {
   for (const bool threads : {false, true}) {
      const MultiThreaded multiThreaded(threads);
      Ptr<Node> kept;
      EXPECT_DEATH(ptrIsImpl<Clinging>(kept), "no reference outlives its object' failed");
   }
}

TEST(Node, theBaseFormOfLastUserGoneDestroysTheObject) {
   struct Plain : Node {
      explicit Plain(int& destroyed) : destroyed_(destroyed) {}
      ~Plain() override {
         nodeFlagSet(nodeFlagAlive, false);
         ++destroyed_;
      }
      int& destroyed_;
   };
   const LiveCounts before;
   int destroyed = 0;
   const auto* node = new Plain(destroyed);
   node->incUse();
   node->decUseImpl();
   EXPECT_EQ(0, destroyed);
   node->decUseImpl();
   EXPECT_EQ(1, destroyed);
   EXPECT_EQ("", before.changes());
}

// The way of counting is chosen at each use; what one way added the other takes away.
TEST(Node, countSurvivesTheSwitchToThreads) {
   Watched node;
   node.incUse();
   {
      const MultiThreaded multiThreaded;
      node.incUse();
      EXPECT_EQ(3u, node.uses());
      node.decUseImpl();
      node.decUseImpl();
      EXPECT_EQ(1u, node.uses());
      node.incUse();
   }
   node.decUseImpl();
   EXPECT_EQ(0, node.goneCalls);
   node.decUseImpl();
   EXPECT_EQ(1, node.goneCalls);
}

// --- flags ---

TEST(NodeFlags, areSetAndClearedOneByOne) {
   const Watched node;
   const auto other = static_cast<NodeFlag>(4);
   EXPECT_FALSE(node.nodeFlag(other));
   node.nodeFlagSet(other, true);
   EXPECT_TRUE(node.nodeFlag(other));
   EXPECT_TRUE(node.nodeFlag(nodeFlagAlive));
   node.nodeFlagSet(other, true);
   EXPECT_EQ(0x20000004u, wordAt(node, 12));
   node.nodeFlagSet(nodeFlagAlive, false);
   EXPECT_TRUE(node.nodeFlag(other));
   EXPECT_FALSE(node.nodeFlag(nodeFlagAlive));
   node.nodeFlagSet(other, false);
   EXPECT_EQ(0u, wordAt(node, 12));
}

TEST(NodeFlags, leaveTheCountAlone) {
   const Watched node;
   for (int i = 0; i < 99; ++i) {
      node.incUse();
   }
   node.nodeFlagSet(nodeFlagAlive, false);
   EXPECT_EQ(100u, node.uses());
   // All but the one that says that the count took its life, which would be a lie.
   node.nodeFlagSet(static_cast<NodeFlag>(~U32{Corvid::nodeFlagEnding}), true);
   EXPECT_EQ(100u, node.uses());
   EXPECT_EQ(0xbfffffffu, wordAt(node, 12));
}

// Tells of its owner's flag when it goes.
struct Member {
   const Node& owner;
   std::vector<std::string>& log;
   const char* name;
   ~Member() { log.push_back(std::string(name) + (owner.nodeFlag(nodeFlagAlive) ? " goes, owner alive" : " goes")); }
};

// Three classes deep, each with a member. A destructor clears the flag before anything else.
struct First : Node {
   explicit First(std::vector<std::string>& log) : log_(log), member{*this, log, "first's member"} {}
   ~First() override { ending("first"); }
   void ending(const char* name) const {
      const bool alive = nodeFlag(nodeFlagAlive);
      nodeFlagSet(nodeFlagAlive, false);
      log_.push_back(std::string("~") + name + (alive ? ", alive until here" : ""));
   }
   std::vector<std::string>& log_;
   Member member;
};
struct Second : First {
   explicit Second(std::vector<std::string>& log) : First(log), member{*this, log, "second's member"} {}
   ~Second() override { ending("second"); }
   Member member;
};
struct Third : Second {
   explicit Third(std::vector<std::string>& log) : Second(log), member{*this, log, "third's member"} {}
   ~Third() override { ending("third"); }
   Member member;
};

TEST(NodeFlags, theMostDerivedDestructorClearsTheFlagBeforeAnyMemberGoes) {
   std::vector<std::string> log;
   ptrIsImpl<Third>(log);
   EXPECT_EQ((std::vector<std::string>{"~third, alive until here", "third's member goes", "~second",
                                       "second's member goes", "~first", "first's member goes"}),
             log);
}

// --- memory ---

TEST(NodeMemory, aClassWithoutATrackerCountsOnNode) {
   struct Uncounted : Node {
      ~Uncounted() override { nodeFlagSet(nodeFlagAlive, false); }
      char more[40] = {};
   };
   const LiveCounts before;
   {
      const auto first = ptrIsImpl<Uncounted>();  // makes the tracker if there is none yet
      const std::uint64_t objects = Node::memAllocationTracker_->liveObjects();
      const std::uint64_t bytes = Node::memAllocationTracker_->liveBytes();
      const auto second = ptrIsImpl<Uncounted>();
      EXPECT_EQ(objects + 1, Node::memAllocationTracker_->liveObjects());
      EXPECT_EQ(bytes + sizeof(Uncounted), Node::memAllocationTracker_->liveBytes());
      EXPECT_EQ("Corvid::Node", Node::memAllocationTracker_->typeName());
   }
   EXPECT_EQ("", before.changes());
}

TEST(NodeMemory, deletingNullDoesNothing) {
   const LiveCounts before;
   delete static_cast<Watched*>(nullptr);
   EXPECT_EQ("", before.changes());
}

// --- threads ---

struct Shared : Node {
   explicit Shared(std::atomic<int>& destroyed) : destroyed_(destroyed) {}
   ~Shared() override {
      nodeFlagSet(nodeFlagAlive, false);
      EXPECT_EQ(expected, written);
      destroyed_.fetch_add(1);
   }
   std::atomic<int>& destroyed_;
   int expected = 0;
   int written = 0;
};

TEST(NodeThreads, countOfASharedObject) {
   const LiveCounts before;
   std::atomic<int> destroyed{0};
   {
      const MultiThreaded multiThreaded;
      const auto shared = ptrIsImpl<Shared>(destroyed);
      const Shared& object = *shared;
      runThreads(8, [&](int) {
         for (int i = 0; i < Property::sized(10'000, 40'000, 1'000'000); ++i) {
            object.incUse();
            const Ptr<const Shared> copy(&object);
            object.decUseImpl();
         }
      });
      EXPECT_EQ(1u, shared->uses());
      EXPECT_EQ(0, destroyed.load());
   }
   EXPECT_EQ(1, destroyed.load());
   EXPECT_EQ("", before.changes());
}

// Whichever thread is last destroys the object, and sees what the others wrote before they let go.
TEST(NodeThreads, theLastReferenceGoesInAnyThread) {
   const LiveCounts before;
   const MultiThreaded multiThreaded;
   std::atomic<int> destroyed{0};
   const int rounds = Property::sized(200, 2'000, 20'000);
   for (int round = 0; round < rounds; ++round) {
      auto* shared = new Shared(destroyed);
      shared->expected = round;
      shared->incUse();
      runThreads(2, [&](int thread) {
         if (thread == 0) {
            shared->written = round;
         }
         shared->decUseImpl();
      });
   }
   EXPECT_EQ(rounds, destroyed.load());
   EXPECT_EQ("", before.changes());
}

// Without the flag a process may still have threads, as long as each keeps to its own objects.
TEST(NodeThreads, objectsOfOneThreadEachNeedNoFlag) {
   runThreads(8, [](int) {
      Watched node;
      for (int i = 0; i < 10'000; ++i) {
         const Ptr<Watched> mine(&node);
      }
      EXPECT_EQ(1u, node.uses());
      EXPECT_EQ(0, node.goneCalls);
   });
}

}  // namespace NodeTest
