// What is left when memory runs out: each allocation of each operation on a Patricia trie fails in turn, and the operation
// is then repeated with memory enough. Slab memory can be made to fail in builds with fault injection only; what comes from
// operator new can in any.
//
//    adding      the routes and counts are as before, and the tree too, but for a leaf whose key was already lengthened. A
//                split that fails at its second node loses the first.
//    deleting    with node data, the count of routes is lowered already; the route and its payload stay.
//    reclaiming  with node data, the leaf is out already, with the routes of its parent.
//    reading     nothing changes; an iterator stands where it stood.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "routetrie/trie/patricia/PatriciaTrieIterator.h"
#include "tests/property/Faults.h"
#include "tests/property/Ops.h"
#include "tests/property/PatriciaDataEngine.h"
#include "tests/support/LossAllowed.h"

namespace Property {
namespace FaultTest {

constexpr bool slabCanFail = std::size(trieSources) == 2;

//--- changes ---

template <AddressFamily familyValue, class P, bool data>
struct Kind {
   using PrefixType = P;
   using Calls = PatriciaCalls<P>;
   static constexpr AddressFamily family = familyValue;
   static constexpr bool isCompact = std::same_as<P, CompactIpPrefix>;
   static constexpr bool withData = data;

   static std::vector<U32> places() {
      return family == AddressFamily::ipv4 ? std::vector<U32>{0} : std::vector<U32>{0, 60};
   }
   static TriePtr newTrie() {
      const TriePtr trie = Routing::patriciaTrieFactory(family, isCompact);
      trie->nodeDataEnabledIs(withData);
      return trie;
   }
};

// A change with all that it needs, so that it allocates nothing but what the trie needs.
template <class K>
struct Change {
   Change(Op::Kind opKind, const IpGenPrefix& p)
      : kind(opKind),
        prefix(p),
        data(K::withData && kind == Op::add ? Routing::prefixDataFactory() : nullptr),
        container(K::withData && kind == Op::remove ? Routing::prefixDataContainerFactory() : nullptr) {}
   void applyTo(PatriciaTrie& trie) const {
      if (kind == Op::add) {
         (trie.*K::Calls::add)(prefix, data);
      } else {
         (trie.*K::Calls::remove)(prefix, nullptr, container);
      }
   }
   const Op::Kind kind;
   const typename K::PrefixType prefix;
   const DataPtr data;
   const ContainerPtr container;
};

template <class K>
TriePtr trieAfter(const std::string& ops, U32 place) {
   const TriePtr trie = K::newTrie();
   for (const Op& op : opsOf(ops)) {
      Change<K>(op.kind, placed(K::family, place, op.prefix)).applyTo(*trie);
   }
   return trie;
}

template <class K>
PrefixList orderedOf(const PatriciaTrie& trie) {
   return reportOfWalk<typename K::PrefixType>(trie, zeroLength(K::family))->prefixes;
}

struct Scenario {
   std::string before;
   std::string op;
   bool losesNode = false;
   bool changesKey = false;  // with node data, of a leaf
};

const Scenario scenarios[] = {
   {"", "+10.1.2.0/24"},
   {"+10.1.2.0/24", "+10.0.0.0/8"},
   {"+10.0.0.0/8", "+10.1.2.0/24", false, true},
   {"+10.0.0.0/8 +10.1.2.0/24", "+10.1.128.0/20", true},
   {"+8.0.0.0/5 +10.0.0.0/8 +10.1.2.0/24 +10.1.2.128/25", "+9.0.0.0/8", true},
   {"+10.0.0.0/8 +10.1.2.0/24", "+10.1.2.0/24"},
   {"+10.0.0.0/8 +10.1.0.0/16 +10.1.2.0/24", "-10.1.0.0/16"},
   {"+10.0.0.0/8 +10.1.0.0/16 +10.1.2.0/24", "-10.1.2.0/24"},
   {"+10.0.0.0/8 +11.0.0.0/8", "-11.0.0.0/8"},
   {"+10.0.0.0/8", "-10.0.0.0/8"},
   {"+10.0.0.0/8", "-10.1.0.0/16"},
};

template <class K>
class FaultTest : public testing::Test {
  protected:
   // How many allocations of the scenario's last op could be made to fail.
   static std::size_t failEach(const Scenario& scenario, U32 place, Source source) {
      const TriePtr whole = trieAfter<K>(scenario.before + ' ' + scenario.op, place);
      const std::string treeAfterwards = textOf(*whole);
      const Op op = opsOf(scenario.op)[0];
      for (std::size_t n = 1;; ++n) {
         SCOPED_TRACE(fmt::format("{} {} at place {}, allocation {}", scenario.before, scenario.op, place, n));
         const Change<K> change(op.kind, placed(K::family, place, op.prefix));
         const LiveCounts live;
         bool failed = false;
         {
            const TestSupport::LossAllowed lossAllowed;
            const TriePtr trie = trieAfter<K>(scenario.before, place);
            const std::string treeBefore = textOf(*trie);
            const PrefixList routesBefore = orderedOf<K>(*trie);
            const U32 countBefore = trie->routes();
            failed = failsWith(source, n, [&] { change.applyTo(*trie); });
            EXPECT_EQ("", trie->audit());
            if (failed) {
               EXPECT_EQ(routesBefore, orderedOf<K>(*trie));
               EXPECT_EQ(countBefore - (op.kind == Op::remove), trie->routes());
               if (!(scenario.changesKey && K::withData)) {
                  EXPECT_EQ(treeBefore, textOf(*trie));
               }
               change.applyTo(*trie);
            }
            EXPECT_EQ(treeAfterwards, textOf(*trie));
            EXPECT_EQ("", trie->audit());
         }
         if (change.container) {
            change.container->prefixDataIs(nullptr);
         }
         if (!failed || !scenario.losesNode) {
            EXPECT_EQ("", live.changes());
         }
         if (!failed || testing::Test::HasFailure()) {
            return n - 1;
         }
      }
   }
};

using Kinds =
   testing::Types<Kind<AddressFamily::ipv4, IpGenPrefix, false>, Kind<AddressFamily::ipv4, CompactIpPrefix, false>,
                  Kind<AddressFamily::ipv6, IpGenPrefix, false>, Kind<AddressFamily::ipv6, CompactIpPrefix, false>,
                  Kind<AddressFamily::ipv4, IpGenPrefix, true>, Kind<AddressFamily::ipv4, CompactIpPrefix, true>,
                  Kind<AddressFamily::ipv6, IpGenPrefix, true>, Kind<AddressFamily::ipv6, CompactIpPrefix, true>>;
TYPED_TEST_SUITE(FaultTest, Kinds);

TYPED_TEST(FaultTest, changes) {
   std::size_t slabFailures = 0;
   for (const Scenario& scenario : scenarios) {
      for (const U32 place : TypeParam::places()) {
         for (const Source source : trieSources) {
            const std::size_t failures = this->failEach(scenario, place, source);
            if (source == Source::heap) {
               EXPECT_EQ(0U, failures) << "a change takes slab memory alone: " << scenario.op;
            } else {
               slabFailures += failures;
            }
         }
      }
   }
   // A leaf, a branch and a leaf, twice; and with node data the arrays of nodes with several routes.
   EXPECT_GE(slabFailures, slabCanFail ? (TypeParam::withData ? 9U : 5U) : 0U);
}

#ifdef ROUTETRIE_FAULT_INJECTION
// The leaf is out of the tree and its parent too when the sibling's new array cannot be had; the nodes are lost, and counted
// on, and the parent's route with them. The rest of the trie answers as before.
TYPED_TEST(FaultTest, reclaimingWithoutMemory) {
   for (const U32 place : TypeParam::places()) {
      const TestSupport::LossAllowed lossAllowed;
      const TriePtr trie = trieAfter<TypeParam>("+8.0.0.0/5 +10.0.0.0/8 +11.0.0.0/8 +128.0.0.0/1", place);
      const auto p = [&](const char* text) {
         return placed(TypeParam::family, place, IpGenPrefix::fromString(text));
      };
      ASSERT_EQ(5, trie->nodes());
      const Change<TypeParam> change(Op::remove, p("11.0.0.0/8"));
      const bool failed = failsWith(Source::slab, 1, [&] { change.applyTo(*trie); });
      EXPECT_EQ(TypeParam::withData, failed);
      EXPECT_EQ(3U, trie->routes());
      if (!failed) {
         EXPECT_EQ(3, trie->nodes());
         EXPECT_EQ((PrefixList{p("8.0.0.0/5"), p("10.0.0.0/8"), p("128.0.0.0/1")}), orderedOf<TypeParam>(*trie));
         continue;
      }
      EXPECT_EQ(5, trie->nodes());
      EXPECT_TRUE(trie->audit().starts_with("I")) << trie->audit();
      EXPECT_EQ((PrefixList{p("10.0.0.0/8"), p("128.0.0.0/1")}), orderedOf<TypeParam>(*trie));
   }
}
#endif

//--- reading ---

// Goes through `work` with each of its allocations failing; the trie must be as it was, whatever happened.
template <class Work>
std::size_t failEachRead(const TriePtr& trie, Source source, const Work& work) {
   const std::string tree = textOf(*trie);
   const LiveCounts live;
   for (std::size_t n = 1;; ++n) {
      const bool failed = failsWith(source, n, work);
      EXPECT_EQ("", live.changes()) << n;
      EXPECT_EQ(tree, textOf(*trie)) << n;
      EXPECT_EQ(0, trie->iterators()) << n;
      EXPECT_EQ(1U, trie->uses()) << n;
      if (!failed || testing::Test::HasFailure()) {
         return n - 1;
      }
   }
}

template <class K>
class ReadFaultTest : public testing::Test {
  protected:
   // The routes of a comb as deep as addresses are long, so that an iterator's store of pending nodes grows.
   ReadFaultTest() : trie(K::newTrie()) {
      std::array<U8, 16> bytes{};
      for (U32 length = 1; length <= widthOf(K::family); ++length) {
         const auto p = prefixOf(K::family, bytes, length);
         Change<K>(Op::add, p).applyTo(*trie);
         Change<K>(Op::add, flipped(p, length - 1)).applyTo(*trie);
      }
      ordered = orderedOf<K>(*trie);
   }

   const TriePtr trie;
   PrefixList ordered;
};
TYPED_TEST_SUITE(ReadFaultTest, Kinds);

TYPED_TEST(ReadFaultTest, walksAndChildren) {
   using P = typename TypeParam::PrefixType;
   for (const Source source : trieSources) {
      failEachRead(this->trie, source, [&] {
         const auto report = reportOfWalk<P>(*this->trie, zeroLength(TypeParam::family));
         EXPECT_EQ(this->ordered, report->prefixes);
      });
      failEachRead(this->trie, source,
                   [&] { EXPECT_EQ(2U, reportOfChildren<P>(*this->trie, this->ordered[1])->prefixes.size()); });
   }
}

TYPED_TEST(ReadFaultTest, dumps) {
   for (const Source source : trieSources) {
      const std::size_t failures = failEachRead(this->trie, source, [&] {
         std::ostringstream out;
         const auto context = Keel::dumpContextFactory(out);
         context->listLimitIs(5);
         this->trie->dumpState(context, 0);
         // A stream hides what goes wrong with its memory.
         if (!out) {
            throw std::bad_alloc();
         }
      });
      EXPECT_GE(failures, source == Source::slab ? 2U : 1U) << "context and walker, or text";
   }
}

TYPED_TEST(ReadFaultTest, steps) {
   if constexpr (TypeParam::family == AddressFamily::ipv4 || TypeParam::isCompact) {
      for (const Source source : trieSources) {
         const std::size_t failures = failEachRead(this->trie, source, [&] {
            auto p = this->trie->getNext(CompactIpPrefix());
            for (const auto& expected : this->ordered) {
               EXPECT_EQ(expected, p.genPrefix());
               p = this->trie->getNext(p);
            }
         });
         EXPECT_TRUE(source == Source::slab || failures == 0) << "but for shared records, a step takes no memory";
      }
   }
}

TYPED_TEST(ReadFaultTest, iteratorsStandWhereTheyStood) {
   for (const Source source : trieSources) {
      std::size_t failures = 0;
      for (std::size_t n = 1;; ++n) {
         const LiveCounts live;
         bool failed = false;
         failAt(source, n);
         try {
            Routing::PatriciaTrieCompactIterator iterator(this->trie, nullptr);
            for (const auto& expected : this->ordered) {
               const auto key = iterator.key();
               if (key != CompactIpPrefix(expected)) {
                  ADD_FAILURE() << "found " << key << ", expected " << expected;
                  break;
               }
               try {
                  iterator.next();
               } catch (const std::bad_alloc&) {
                  failed = true;
                  EXPECT_EQ(key, iterator.key());
                  EXPECT_EQ(1, this->trie->iterators());
                  iterator.next();
               }
            }
            EXPECT_FALSE(iterator);
         } catch (const std::bad_alloc&) {
            failed = true;
         }
         failAt(source, 0);
         EXPECT_EQ(0, this->trie->iterators());
         EXPECT_EQ(1U, this->trie->uses());
         EXPECT_EQ("", live.changes());
         if (!failed || testing::Test::HasFailure()) {
            break;
         }
         ++failures;
      }
      // The store begins with two, and grows on the way down a deep tree.
      EXPECT_GE(failures, source == Source::heap ? (TypeParam::family == AddressFamily::ipv6 ? 3U : 2U) : 0U);
   }
}

TYPED_TEST(ReadFaultTest, aMoveThatFailsMovesNothing) {
   Routing::PatriciaTrieIterator iterator(this->trie, nullptr);
   iterator.next();
   const auto key = iterator.key();
   std::size_t failures = 0;
   while (failsWith(Source::heap, failures + 1, [&] {
      Routing::PatriciaTrieIterator other(std::move(iterator));
      iterator.swap(other);
   })) {
      ++failures;
      EXPECT_EQ(key, iterator.key());
      EXPECT_EQ(1, this->trie->iterators());
   }
   EXPECT_GE(failures, 1U);
   EXPECT_EQ(key, iterator.key());
}

}  // namespace FaultTest
}  // namespace Property
