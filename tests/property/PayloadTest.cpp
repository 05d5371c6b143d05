// Payloads of routes against a model: long random runs in which every call of a payload's hooks, every payload that comes
// back and every reference count is compared with what it should be. On PatriciaTrie with node data, where the default
// route has no payload, and on PatriciaTrieWithNodeData, where it has one as every other.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "routetrie/trie/patricia/PatriciaTrieWithNodeData.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/LoggedPayload.h"
#include "tests/property/Scale.h"
#include "tests/property/Workload.h"

namespace Property {
namespace PayloadTest {

using Routing::PatriciaTrieWithNodeData;

//--- the two classes under one face ---

// A Face is a trie, empty at first, with
//
//    set(p, data, way)       installs the route; `way` is any number, and picks one of the ways there are
//    remove(p, data, way)    the payload of the route that went, or null
//    route(p), match(p)      the payload of the route p, and of the longest route that covers p
//    ancestors(p)            all routes that cover p
//    defaultHasPayload       whether the default route has one; otherwise it stays once it was set

template <AddressFamily familyValue, class P>
class NodeFace {
  public:
   using PrefixType = P;
   static constexpr AddressFamily family = familyValue;
   static constexpr bool defaultHasPayload = false;
   static std::string name() { return "Node" + std::string(PatriciaEngine<family, P>::name); }

   NodeFace() { trie_->nodeDataEnabledIs(true); }
   PatriciaTrie& trie() const { return *trie_; }

   void set(const P& p, const DataPtr& data, U32) { (trie().*Calls::add)(p, data); }
   // The container keeps what it held where there is no such route.
   DataPtr remove(const P& p, const DataPtr& data, U32) {
      const DataPtr before = Routing::prefixDataFactory();
      const ContainerPtr container = Routing::prefixDataContainerFactory();
      container->prefixDataIs(before);
      const bool found = (trie().*Calls::remove)(p, data, container);
      const DataPtr after = container->prefixData();
      EXPECT_EQ(p.len() == 0 || after != before, found);
      return after == before ? nullptr : after;
   }
   DataPtr route(const P& p) const {
      const auto [found, data] = longestMatch(p);
      return found == p ? data : nullptr;
   }
   DataPtr match(const P& p) const { return longestMatch(p).second; }
   auto ancestors(const P& p) const {
      const auto report = Corvid::ptrIsImpl<ReportCb<P>>(false);  // what it says is ignored
      (trie().*Calls::longestMatch)(p, nullptr, report.get());
      return report;
   }

  private:
   using Calls = PatriciaCalls<P>;

   std::pair<P, DataPtr> longestMatch(const P& p) const {
      const ContainerPtr container = Routing::prefixDataContainerFactory();
      const P found = (trie().*Calls::longestMatch)(p, container, nullptr);
      return {found, container->prefixData()};
   }

   const TriePtr trie_ = Routing::patriciaTrieFactory(family, std::same_as<P, CompactIpPrefix>);
};

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

template <AddressFamily familyValue, class P>
class RouteFace {
  public:
   using PrefixType = P;
   static constexpr AddressFamily family = familyValue;
   static constexpr bool defaultHasPayload = true;
   static std::string name() { return "Route" + std::string(PatriciaEngine<family, P>::name); }

   PatriciaTrieWithNodeData& trie() const { return *trie_; }

   void set(const P& p, const DataPtr& data, U32 way) { (trie().*(way % 2 == 0 ? Calls::set : Calls::add))(p, data); }
   DataPtr remove(const P& p, const DataPtr& data, U32 way) {
      return data ? (trie().*Calls::delOrUpdate)(p, data) : (trie().*(way % 2 == 0 ? Calls::del : Calls::delTest))(p);
   }
   DataPtr route(const P& p) const { return (constTrie().*Calls::route)(p); }
   auto match(const P& p) const { return (constTrie().*Calls::match)(p); }
   auto ancestors(const P& p) const {
      const auto report = Corvid::ptrIsImpl<ReportCb<P>>(false);  // what it says is ignored
      (constTrie().*Calls::ancestors)(p, report.get());
      return report;
   }

  private:
   using Calls = RouteCalls<P>;

   const PatriciaTrieWithNodeData& constTrie() const { return *trie_; }

   const Corvid::Ptr<PatriciaTrieWithNodeData> trie_ =
      Routing::patriciaTrieWithNodeDataFactory(family, std::same_as<P, CompactIpPrefix>);
};

//--- a trie beside its model ---

template <class Face>
class PayloadRun {
  public:
   using PrefixType = typename Face::PrefixType;

   explicit PayloadRun(std::uint64_t number) : workload_(Face::family, mixes[4], number) {
      for (int id = 0; id < 40; ++id) {
         const auto manner = [&](int one, int two) {
            return id % one == 0 ? Manner::stays : id % two == 0 ? Manner::leavesAHeir : Manner::replaced;
         };
         payloads_.push_back(Corvid::ptrIsImpl<Payload>(id, manner(4, 5), manner(6, 7)));
      }
      pool_.push_back(zeroLength(Face::family));
      while (pool_.size() < 24) {
         pool_.push_back(workload_.fresh());
      }
      for (std::size_t id = 0; id < payloads_.size(); ++id) {
         payloads_[id]->heir = payloads_[(id * 7 + 3) % payloads_.size()];
      }
   }
   ~PayloadRun() {
      for (const auto& payload : payloads_) {
         payload->heir = nullptr;
      }
   }

   void step() {
      // Of few prefixes: routes that stay when they are deleted would fill the trie.
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
         expected[data.get()] += face_ ? 2U : 1U;
      }
      for (const auto& payload : payloads_) {
         ASSERT_EQ(expected[payload.get()], payload->uses()) << payload->id;
      }
   }

   // Tears the trie down: no hook is called, and all its references go.
   void end() {
      calls.clear();
      face_.reset();
      EXPECT_EQ(std::vector<std::string>{}, calls);
      checkCounts();
   }

   // What PatriciaTrieWithNodeData asks of memory beside the engine: the container of a delete, whose failure changes
   // nothing; and nothing for a lookup or the default route, which do without any.
   void starve();

   std::size_t size() const { return stored_.size(); }
   bool hasDefault() const { return hasDefault_; }

  private:
   void set(const IpGenPrefix& p, const PayloadPtr& data) {
      face_->set(PrefixType(p), data, workload_.below(2));
      stored(p, data);
      check();
   }
   // What a set does to the model, and which hooks it calls.
   void stored(const IpGenPrefix& p, const PayloadPtr& data) {
      const bool isDefault = p.len() == 0;
      expected_.clear();
      if (isDefault && !Face::defaultHasPayload) {
         routes_ += hasDefault_ ? 0 : 1;
      } else {
         expected_.push_back("onAddition " + Payload::nameOf(data));
         if (const auto place = stored_.find(p); place == stored_.end()) {
            stored_[p] = data;
            ++routes_;
         } else {
            auto& old = static_cast<Payload&>(*place->second);
            expected_.push_back("insertData " + std::to_string(old.id) + " " + Payload::nameOf(data));
            place->second = old.outcome(old.atInsert, data);
         }
      }
      hasDefault_ = hasDefault_ || isDefault;
   }

   void remove(const IpGenPrefix& p, const DataPtr& data) {
      const DataPtr got = face_->remove(PrefixType(p), data, workload_.below(2));
      const auto place = stored_.find(p);
      expected_.clear();
      if (place == stored_.end()) {
         EXPECT_EQ(DataPtr(), got);
      } else {
         const DataPtr old = place->second;
         EXPECT_EQ(old, got);
         expected_ = {"onDeletion " + Payload::nameOf(old),
                      "removeData " + Payload::nameOf(old) + " " + Payload::nameOf(data)};
         auto& payload = static_cast<Payload&>(*old);
         if (const DataPtr next = payload.outcome(payload.atRemove, data)) {
            place->second = next;
         } else {
            stored_.erase(place);
         }
         --routes_;  // also if the route stays
         hasDefault_ = hasDefault_ && (p.len() != 0 || stored_.contains(p));
      }
      check();
   }

   void ask(const IpGenPrefix& p) {
      const PrefixType key(p);
      PrefixList covering;
      std::vector<const Routing::PrefixData*> payloads;
      for (const auto& [prefix, data] : stored_) {  // in order, so that those that cover p come by length
         if (covers(prefix, p)) {
            covering.push_back(prefix);
            payloads.push_back(data.get());
         }
      }
      EXPECT_EQ(stored_.contains(p) ? stored_[p] : DataPtr(), face_->route(key)) << p;
      if (p.len() != 0 || !Face::defaultHasPayload) {
         EXPECT_EQ(payloads.empty() ? nullptr : payloads.back(), face_->match(key).get()) << p;
      }
      const auto report = face_->ancestors(key);
      EXPECT_EQ(covering, report->prefixes) << p;
      EXPECT_EQ(payloads, report->payloads) << p;
      expected_.clear();
      check();
   }

   void check() {
      ASSERT_EQ(expected_, calls);
      ASSERT_EQ("", face_->trie().audit());
      ASSERT_EQ(routes_, face_->trie().routes());
      ASSERT_EQ(hasDefault_, face_->trie().defaultRoutePresent());
      if constexpr (Face::defaultHasPayload) {
         ASSERT_EQ(hasDefault_, bool(face_->trie().defaultRouteNodeData()));
      }
      for (const auto& [prefix, data] : stored_) {
         ASSERT_EQ(data, face_->route(PrefixType(prefix))) << prefix;
      }
   }

   Workload workload_;
   PrefixList pool_;
   std::optional<Face> face_{std::in_place};
   std::vector<PayloadPtr> payloads_;
   std::map<IpGenPrefix, DataPtr> stored_;
   std::vector<std::string> expected_;
   bool hasDefault_ = false;
   U32 routes_ = 0;  // wraps as the trie's does
};

//--- the tests ---

struct FaceName {
   template <class Face>
   static std::string GetName(int) {
      return Face::name();
   }
};

template <class Face>
class PayloadTest : public testing::Test {};

using Faces =
   testing::Types<NodeFace<AddressFamily::ipv4, IpGenPrefix>, NodeFace<AddressFamily::ipv4, CompactIpPrefix>,
                  NodeFace<AddressFamily::ipv6, IpGenPrefix>, NodeFace<AddressFamily::ipv6, CompactIpPrefix>,
                  RouteFace<AddressFamily::ipv4, IpGenPrefix>, RouteFace<AddressFamily::ipv4, CompactIpPrefix>,
                  RouteFace<AddressFamily::ipv6, IpGenPrefix>, RouteFace<AddressFamily::ipv6, CompactIpPrefix>>;
TYPED_TEST_SUITE(PayloadTest, Faces, FaceName);

TYPED_TEST(PayloadTest, hooksPayloadsAndReferencesAreTheModels) {
   const std::uint64_t number = seed();
   SCOPED_TRACE("seed " + std::to_string(number));
   const LiveCounts before;
   {
      PayloadRun<TypeParam> run(number);
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
template <class Face>
void PayloadRun<Face>::starve() {
   for (int round = 0; round < 500; ++round) {
      ASSERT_NO_FATAL_FAILURE(step());
      const IpGenPrefix p = pool_[workload_.below(static_cast<U32>(pool_.size()))];
      const PrefixType key(p);
      calls.clear();
      expected_.clear();
      CoreSlab::failAt(1);
      EXPECT_THROW(face_->remove(key, nullptr, 0), std::bad_alloc);
      CoreSlab::failAt(0);
      ASSERT_NO_FATAL_FAILURE(check());

      if (stored_.contains(p)) {  // of another prefix the answer, if it is long and compact, needs a record
         CoreSlab::failAt(1);
         EXPECT_EQ(stored_[p], face_->route(key));
         EXPECT_EQ(stored_[p].get(), face_->match(key).get());
         CoreSlab::failAt(0);
      }

      const PayloadPtr& data = payloads_[workload_.below(static_cast<U32>(payloads_.size()))];
      const IpGenPrefix defaultRoute = zeroLength(Face::family);
      const PrefixType defaultKey(defaultRoute);
      CoreSlab::failAt(1);
      face_->set(defaultKey, data, 0);
      CoreSlab::failAt(0);
      stored(defaultRoute, data);
      ASSERT_NO_FATAL_FAILURE(check());
      checkCounts();
   }
}

template <class Face>
class PayloadFaultTest : public testing::Test {};

using RouteFaces =
   testing::Types<RouteFace<AddressFamily::ipv4, IpGenPrefix>, RouteFace<AddressFamily::ipv4, CompactIpPrefix>,
                  RouteFace<AddressFamily::ipv6, IpGenPrefix>, RouteFace<AddressFamily::ipv6, CompactIpPrefix>>;
TYPED_TEST_SUITE(PayloadFaultTest, RouteFaces, FaceName);

TYPED_TEST(PayloadFaultTest, memoryThatRunsOutLeavesTheTrieAsItWas) {
   const std::uint64_t number = seed();
   SCOPED_TRACE("seed " + std::to_string(number));
   const LiveCounts before;
   {
      PayloadRun<TypeParam> run(number);
      run.starve();
      run.end();
   }
   EXPECT_EQ("", before.changes());
}
#endif

}  // namespace PayloadTest
}  // namespace Property
