// Payloads of routes: the battery on tries with node data, and a long random run in which every call of a payload's hooks,
// every object handed back and every reference count is compared with a model of what they should be.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tests/property/LiveCounts.h"
#include "tests/property/LoggedPayload.h"
#include "tests/property/PatriciaDataEngine.h"
#include "tests/property/SmallWorld.h"
#include "tests/property/Workload.h"

namespace Property {
namespace {

//--- the battery ---

template <class E>
class NodeDataTest : public testing::Test {};

using Engines = PatriciaDataEngines<testing::Types>;
TYPED_TEST_SUITE(NodeDataTest, Engines, EngineName);

TYPED_TEST(NodeDataTest, everySetInEveryOrder) {
   const LiveCounts before;
   for (const U32 place : {0U, TypeParam::family == AddressFamily::ipv4 ? 28U : 62U}) {
      SmallWorld<TypeParam> world(place, false);
      EXPECT_EQ("", world.run());
      EXPECT_GT(world.shapes(), world.largestSet() == 3 ? 4991U : 496U);
   }
   EXPECT_EQ("", before.changes());
}

TYPED_TEST(NodeDataTest, randomOps) {
   const std::uint64_t number = seed();
   for (const Mix& mix : mixes) {
      const Ops ops = Workload(TypeParam::family, mix, number).ops(sized<std::size_t>(3'000, 20'000, 100'000));
      EXPECT_EQ("", report<TypeParam>(ops, 250)) << mix.name;
   }
}

//--- the hooks ---

template <class E>
class HookRun {
  public:
   using PrefixType = std::conditional_t<E::Plain::isCompact, CompactIpPrefix, IpGenPrefix>;
   using Calls = PatriciaCalls<PrefixType>;

   explicit HookRun(std::uint64_t number) : workload_(E::family, mixes[4], number) {
      trie_->nodeDataEnabledIs(true);
      for (int id = 0; id < 40; ++id) {
         const auto manner = [&](int one, int two) {
            return id % one == 0 ? Manner::stays : id % two == 0 ? Manner::leavesAHeir : Manner::replaced;
         };
         payloads_.push_back(Corvid::ptrIsImpl<Payload>(id, manner(4, 5), manner(6, 7)));
      }
      while (pool_.size() < 24) {
         pool_.push_back(workload_.fresh());
      }
      for (std::size_t id = 0; id < payloads_.size(); ++id) {
         payloads_[id]->heir = payloads_[(id * 7 + 3) % payloads_.size()];
      }
   }
   ~HookRun() {
      for (const auto& payload : payloads_) {
         payload->heir = nullptr;
      }
   }

   void step() {
      // Of few prefixes: routes that stay when they are deleted would fill the trie.
      const IpGenPrefix p = pool_[workload_.below(static_cast<U32>(pool_.size()))];
      const PayloadPtr data = payloads_[workload_.below(static_cast<U32>(payloads_.size()))];
      calls.clear();
      switch (workload_.below(3)) {
         case 0: return add(p, data);
         case 1: return remove(p, workload_.below(3) == 0 ? DataPtr(data) : DataPtr());
         default: return ask(p);
      }
   }

   // Every object is held by this test once, by its heir's giver, and by each route that it belongs to.
   void checkCounts() const {
      std::map<const Routing::PrefixData*, U32> expected;
      for (const auto& payload : payloads_) {
         ++expected[payload.get()];
         ++expected[payload->heir.get()];
      }
      for (const auto& [prefix, data] : stored_) {
         ++expected[data.get()];
      }
      for (const auto& payload : payloads_) {
         // The map of this test holds its routes' objects as well.
         const auto held = static_cast<U32>(std::count_if(
            stored_.begin(), stored_.end(), [&](const auto& entry) { return entry.second == payload; }));
         ASSERT_EQ(expected[payload.get()] + held, payload->uses()) << payload->id;
      }
   }

   // Tears the trie down: no hook is called, and all its references go.
   void end() {
      calls.clear();
      trie_ = nullptr;
      EXPECT_THAT(calls, testing::IsEmpty());
      stored_.clear();
      checkCounts();
   }

   std::size_t size() const { return stored_.size(); }

  private:
   static std::string id(const DataPtr& data) { return Payload::nameOf(data); }

   void add(const IpGenPrefix& p, const PayloadPtr& data) {
      ((*trie_).*Calls::add)(PrefixType(p), data);
      std::vector<std::string> expected;
      if (p.len() == 0) {
         routes_ += hasDefault_ ? 0 : 1;
         hasDefault_ = true;
      } else {
         expected.push_back("onAddition " + id(data));
         if (const auto place = stored_.find(p); place == stored_.end()) {
            stored_[p] = data;
            ++routes_;
         } else {
            auto& old = static_cast<Payload&>(*place->second);
            expected.push_back("insertData " + std::to_string(old.id) + " " + id(data));
            place->second = old.outcome(old.atInsert, data);
         }
      }
      check(expected);
   }

   void remove(const IpGenPrefix& p, const DataPtr& data) {
      const DataPtr before = Routing::prefixDataFactory();
      const ContainerPtr container = Routing::prefixDataContainerFactory();
      container->prefixDataIs(before);
      const bool found = ((*trie_).*Calls::remove)(PrefixType(p), data, container);
      std::vector<std::string> expected;
      const auto place = stored_.find(p);
      if (place == stored_.end()) {
         EXPECT_EQ(p.len() == 0, found);
         EXPECT_EQ(before, container->prefixData()) << "the container changed";
      } else {
         const DataPtr old = place->second;
         EXPECT_TRUE(found);
         EXPECT_EQ(old, container->prefixData());
         expected = {"onDeletion " + id(old), "removeData " + id(old) + " " + id(data)};
         auto& payload = static_cast<Payload&>(*old);
         if (const DataPtr next = payload.outcome(payload.atRemove, data)) {
            place->second = next;
         } else {
            stored_.erase(place);
         }
         --routes_;  // also if the route stays
      }
      check(expected);
   }

   void ask(const IpGenPrefix& p) {
      const ContainerPtr container = Routing::prefixDataContainerFactory();
      const IpGenPrefix found = Calls::general(((*trie_).*Calls::longestMatch)(PrefixType(p), container, nullptr));
      const auto place = stored_.find(found);
      EXPECT_EQ(place == stored_.end() ? DataPtr() : place->second, container->prefixData());
      check({});
   }

   void check(const std::vector<std::string>& expectedCalls) {
      ASSERT_EQ(expectedCalls, calls);
      ASSERT_EQ(routes_, trie_->routes());
      ASSERT_EQ("", trie_->audit());
      for (const auto& [prefix, data] : stored_) {
         const ContainerPtr container = Routing::prefixDataContainerFactory();
         ASSERT_EQ(prefix, Calls::general(((*trie_).*Calls::longestMatch)(PrefixType(prefix), container, nullptr)));
         ASSERT_EQ(data, container->prefixData()) << prefix;
      }
   }

   Workload workload_;
   PrefixList pool_;
   TriePtr trie_ = Routing::patriciaTrieFactory(E::family, E::Plain::isCompact);
   std::vector<PayloadPtr> payloads_;
   std::map<IpGenPrefix, DataPtr> stored_;
   bool hasDefault_ = false;
   U32 routes_ = 0;  // wraps as the trie's does
};

TYPED_TEST(NodeDataTest, hooksAreCalledInTheirOrderAndReferencesAreGivenBack) {
   const LiveCounts before;
   {
      HookRun<TypeParam> run(seed());
      std::size_t most = 0;
      for (std::size_t i = 0; i < sized<std::size_t>(3'000, 20'000, 100'000) && !this->HasFatalFailure(); ++i) {
         run.step();
         most = std::max(most, run.size());
         if (i % 16 == 0) {
            run.checkCounts();
         }
      }
      EXPECT_GT(most, 8U);
      run.end();
   }
   EXPECT_EQ("", before.changes());
}

}  // namespace
}  // namespace Property
