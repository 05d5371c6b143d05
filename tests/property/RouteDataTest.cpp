// PatriciaTrieWithNodeData against a model: long random runs in which every call of a payload's hooks, every payload that
// comes back and every reference count is compared with what it should be, the default route's included.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <new>
#include <string>
#include <vector>

#include "routetrie/trie/patricia/PatriciaTrieWithNodeData.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/LoggedPayload.h"
#include "tests/property/Scale.h"
#include "tests/property/Workload.h"

namespace Property {
namespace {

using Routing::PatriciaTrieWithNodeData;

// The operations of a prefix type.
template <class PrefixType>
struct RouteCalls;

template <>
struct RouteCalls<IpGenPrefix> {
   using T = PatriciaTrieWithNodeData;
   static constexpr auto set = &T::routeIs;
   static constexpr auto add = &T::routeAdd;
   static constexpr auto del = &T::routeDel;
   static constexpr auto delTest = &T::routeDelTest;
   static constexpr auto delOrUpdate = &T::routeDelOrUpdate;
   static constexpr auto route = &T::route;
   static constexpr auto match = &T::longestMatch;
   static constexpr auto ancestors = &T::ancestorWalk;
};

template <>
struct RouteCalls<CompactIpPrefix> {
   using T = PatriciaTrieWithNodeData;
   static constexpr auto set = &T::routeCompactIs;
   static constexpr auto add = &T::routeAddCompact;
   static constexpr auto del = &T::routeCompactDel;
   static constexpr auto delTest = &T::routeDelCompact;
   static constexpr auto delOrUpdate = &T::routeDelOrUpdateCompact;
   static constexpr auto route = &T::routeCompact;
   static constexpr auto match = &T::longestMatchCompact;
   static constexpr auto ancestors = &T::ancestorWalkCompact;
};

template <class E>
class RouteRun {
  public:
   using PrefixType = std::conditional_t<E::Plain::isCompact, CompactIpPrefix, IpGenPrefix>;
   using Calls = RouteCalls<PrefixType>;

   explicit RouteRun(std::uint64_t number) : workload_(E::family, mixes[4], number) {
      for (int id = 0; id < 40; ++id) {
         const auto manner = [&](int one, int two) {
            return id % one == 0 ? Manner::stays : id % two == 0 ? Manner::leavesAHeir : Manner::replaced;
         };
         payloads_.push_back(Corvid::ptrIsImpl<Payload>(id, manner(4, 5), manner(6, 7)));
      }
      pool_.push_back(zeroLength(E::family));
      while (pool_.size() < 24) {
         pool_.push_back(workload_.fresh());
      }
      for (std::size_t id = 0; id < payloads_.size(); ++id) {
         payloads_[id]->heir = payloads_[(id * 7 + 3) % payloads_.size()];
      }
   }
   ~RouteRun() {
      for (const auto& payload : payloads_) {
         payload->heir = nullptr;
      }
   }

   void step() {
      const IpGenPrefix p = pool_[workload_.below(static_cast<U32>(pool_.size()))];
      const PayloadPtr data = payloads_[workload_.below(static_cast<U32>(payloads_.size()))];
      calls.clear();
      switch (workload_.below(4)) {
         case 0: return set(p, data);
         case 1: return remove(p, workload_.below(3) == 0 ? DataPtr(data) : DataPtr());
         case 2: return ask(p);
         default: return ask(workload_.fresh());
      }
   }

   // Each object is held here, by whose heir it is, by each route in the trie, and by this test's map of the same.
   void checkCounts() const {
      std::map<const Routing::PrefixData*, U32> expected;
      for (const auto& payload : payloads_) {
         ++expected[payload.get()];
         ++expected[payload->heir.get()];
      }
      for (const auto& [prefix, data] : stored_) {
         expected[data.get()] += trie_ ? 2U : 1U;
      }
      for (const auto& payload : payloads_) {
         ASSERT_EQ(expected[payload.get()], payload->uses()) << payload->id;
      }
   }

   // Tears the trie down: no hook is called, and all its references go.
   void end() {
      calls.clear();
      trie_ = nullptr;
      EXPECT_EQ(std::vector<std::string>{}, calls);
      checkCounts();
   }

   // What this class asks of memory beside the engine: the container of a delete, whose failure changes nothing; and
   // nothing for a lookup or the default route, which do without any.
   void starve();

   std::size_t size() const { return stored_.size(); }
   bool hasDefault() const { return stored_.contains(zeroLength(E::family)); }

  private:
   static std::string id(const DataPtr& data) { return Payload::nameOf(data); }

   void set(const IpGenPrefix& p, const PayloadPtr& data) {
      ((*trie_).*(workload_.below(2) == 0 ? Calls::set : Calls::add))(PrefixType(p), data);
      stored(p, data);
      check();
   }
   // What a set does to the model, and which hooks it calls.
   void stored(const IpGenPrefix& p, const PayloadPtr& data) {
      expected_ = {"onAddition " + id(data)};
      if (const auto place = stored_.find(p); place == stored_.end()) {
         stored_[p] = data;
         ++routes_;
      } else {
         auto& old = static_cast<Payload&>(*place->second);
         expected_.push_back("insertData " + std::to_string(old.id) + " " + id(data));
         place->second = old.outcome(old.atInsert, data);
      }
   }

   void remove(const IpGenPrefix& p, const DataPtr& data) {
      PatriciaTrieWithNodeData& trie = *trie_;
      const DataPtr got = data ? (trie.*Calls::delOrUpdate)(PrefixType(p), data)
                               : (trie.*(workload_.below(2) == 0 ? Calls::del : Calls::delTest))(PrefixType(p));
      const auto place = stored_.find(p);
      expected_.clear();
      if (place == stored_.end()) {
         EXPECT_EQ(DataPtr(), got);
      } else {
         const DataPtr old = place->second;
         EXPECT_EQ(old, got);
         expected_ = {"onDeletion " + id(old), "removeData " + id(old) + " " + id(data)};
         auto& payload = static_cast<Payload&>(*old);
         if (const DataPtr next = payload.outcome(payload.atRemove, data)) {
            place->second = next;
         } else {
            stored_.erase(place);
         }
         --routes_;  // also if the route stays
      }
      check();
   }

   void ask(const IpGenPrefix& p) {
      const PatriciaTrieWithNodeData& trie = *trie_;
      PrefixList covering;
      std::vector<const Routing::PrefixData*> payloads;
      for (const auto& [prefix, data] : stored_) {  // in order, so that those that cover p come by length
         if (covers(prefix, p)) {
            covering.push_back(prefix);
            payloads.push_back(data.get());
         }
      }
      EXPECT_EQ(stored_.contains(p) ? stored_[p] : DataPtr(), (trie.*Calls::route)(PrefixType(p))) << p;
      if (p.len() != 0) {
         EXPECT_EQ(payloads.empty() ? nullptr : payloads.back(), (trie.*Calls::match)(PrefixType(p)).get()) << p;
      }
      const auto report = Corvid::ptrIsImpl<ReportCb<PrefixType>>(false);  // what it says is ignored
      (trie.*Calls::ancestors)(PrefixType(p), report.get());
      EXPECT_EQ(covering, report->prefixes) << p;
      EXPECT_EQ(payloads, report->payloads) << p;
      expected_.clear();
      check();
   }

   void check() {
      ASSERT_EQ(expected_, calls);
      ASSERT_EQ("", trie_->audit());
      ASSERT_EQ(routes_, trie_->routes());
      ASSERT_EQ(hasDefault(), trie_->defaultRoutePresent());
      ASSERT_EQ(hasDefault(), bool(trie_->defaultRouteNodeData()));
      const PatriciaTrieWithNodeData& trie = *trie_;
      for (const auto& [prefix, data] : stored_) {
         ASSERT_EQ(data, (trie.*Calls::route)(PrefixType(prefix))) << prefix;
      }
   }

   Workload workload_;
   PrefixList pool_;
   Corvid::Ptr<PatriciaTrieWithNodeData> trie_ =
      Routing::patriciaTrieWithNodeDataFactory(E::family, E::Plain::isCompact);
   std::vector<PayloadPtr> payloads_;
   std::map<IpGenPrefix, DataPtr> stored_;
   std::vector<std::string> expected_;
   U32 routes_ = 0;  // wraps as the trie's does
};

template <class E>
class RouteDataTest : public testing::Test {};

using Engines = PatriciaDataEngines<testing::Types>;
TYPED_TEST_SUITE(RouteDataTest, Engines, EngineName);

TYPED_TEST(RouteDataTest, hooksPayloadsAndReferencesAreTheModels) {
   const std::uint64_t number = seed();
   SCOPED_TRACE("seed " + std::to_string(number));
   const LiveCounts before;
   {
      RouteRun<TypeParam> run(number);
      std::size_t most = 0;
      std::size_t withDefault = 0;
      for (std::size_t i = 0; i < sized<std::size_t>(3'000, 20'000, 100'000) && !this->HasFailure(); ++i) {
         run.step();
         most = std::max(most, run.size());
         withDefault += run.hasDefault() ? 1U : 0U;
         if (i % 16 == 0) {
            run.checkCounts();
         }
      }
      EXPECT_GT(most, 8U);
      EXPECT_GT(withDefault, 100U);
      run.end();
   }
   EXPECT_EQ("", before.changes());
}

#ifdef ROUTETRIE_FAULT_INJECTION
template <class E>
void RouteRun<E>::starve() {
   for (int round = 0; round < 500; ++round) {
      ASSERT_NO_FATAL_FAILURE(step());
      const IpGenPrefix p = pool_[workload_.below(static_cast<U32>(pool_.size()))];
      const PrefixType key(p);
      calls.clear();
      expected_.clear();
      CoreSlab::failAt(1);
      EXPECT_THROW(((*trie_).*Calls::del)(key), std::bad_alloc);
      CoreSlab::failAt(0);
      ASSERT_NO_FATAL_FAILURE(check());

      if (stored_.contains(p)) {  // of another prefix the answer, if it is long and compact, needs a record
         CoreSlab::failAt(1);
         EXPECT_EQ(stored_[p], ((*trie_).*Calls::route)(key));
         EXPECT_EQ(stored_[p].get(), ((*trie_).*Calls::match)(key).get());
         CoreSlab::failAt(0);
      }

      const PayloadPtr& data = payloads_[workload_.below(static_cast<U32>(payloads_.size()))];
      const PrefixType defaultKey(zeroLength(E::family));
      CoreSlab::failAt(1);
      ((*trie_).*Calls::set)(defaultKey, data);
      CoreSlab::failAt(0);
      stored(zeroLength(E::family), data);
      ASSERT_NO_FATAL_FAILURE(check());
      checkCounts();
   }
}

TYPED_TEST(RouteDataTest, memoryThatRunsOutLeavesTheTrieAsItWas) {
   const std::uint64_t number = seed();
   SCOPED_TRACE("seed " + std::to_string(number));
   const LiveCounts before;
   {
      RouteRun<TypeParam> run(number);
      run.starve();
      run.end();
   }
   EXPECT_EQ("", before.changes());
}
#endif

}  // namespace
}  // namespace Property
