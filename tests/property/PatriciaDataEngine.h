// PatriciaDataEngine: a PatriciaTrie whose routes have payloads, behind the battery's adapter. Every route gets an object
// of its own, and an answer counts only if it comes with the object of its route: otherwise the adapter leaves the route
// out, which the battery notices.
// Used by tests/property/PatriciaDataTest.cpp and tests/property/OrderTest.cpp.
#pragma once

#include <map>

#include "routetrie/trie/patricia/PatriciaTrieData.h"
#include "tests/property/PatriciaEngine.h"

namespace Property {

using DataPtr = Corvid::Ptr<Routing::PrefixData>;
using ContainerPtr = Corvid::Ptr<Routing::PrefixDataContainer>;

template <AddressFamily familyValue, class PrefixType>
class PatriciaDataEngine {
  public:
   using Calls = PatriciaCalls<PrefixType>;
   using Plain = PatriciaEngine<familyValue, PrefixType>;
   static constexpr AddressFamily family = familyValue;
   static constexpr std::string_view name = Plain::name;
   static constexpr U32 abilities = Plain::abilities | coveringAbility;
   // The default route and its payload are a derived class's affair: here it can be added and not removed.
   static constexpr Habits habits{.longerOfDefaultIsFalse = true,
                                  .removeOfDefaultIsTrue = true,
                                  .defaultStays = true,
                                  .countsBranches = true,
                                  .endsAtWhite = true,
                                  .absentDefaultIsChildless = true};

   PatriciaDataEngine() { trie().nodeDataEnabledIs(true); }

   void add(const IpGenPrefix& p) {
      const DataPtr data = Routing::prefixDataFactory();
      (trie().*Calls::add)(PrefixType(p), data);
      tree_.add(p);
      if (p.len() != 0) {
         payloads_[p] = data;
      }
   }
   // The wrong result if the payload that comes back is not the route's, or if one comes back for an absent route.
   bool remove(const IpGenPrefix& p) {
      const DataPtr expected = p.len() == 0 ? nullptr : payloadOf(p);
      const ContainerPtr container = Routing::prefixDataContainerFactory();
      const bool found = (trie().*Calls::remove)(PrefixType(p), nullptr, container);
      if (p.len() != 0) {
         tree_.remove(p);
         payloads_.erase(p);
      }
      return container->prefixData() == expected ? found : !found;
   }
   std::size_t routes() const { return trie().routes(); }

   bool exact(const IpGenPrefix& p) const {
      return p.len() == 0 ? trie().isDefaultRoutePresent() : longestMatch(p) == MaybePrefix(p);
   }
   MaybePrefix longestMatch(const IpGenPrefix& p) const {
      const ContainerPtr container = Routing::prefixDataContainerFactory();
      const MaybePrefix found = known((trie().*Calls::longestMatch)(PrefixType(p), container, nullptr));
      return found && container->prefixData() == payloadOf(*found) ? found : std::nullopt;
   }
   // For a route the container gets the route's own payload, else the answer's.
   MaybePrefix parent(const IpGenPrefix& p) const {
      const ContainerPtr container = Routing::prefixDataContainerFactory();
      const MaybePrefix found = known((trie().*Calls::parent)(PrefixType(p), container, nullptr));
      if (!found || found->len() == Corenet::nullPrefixLength) {
         return std::nullopt;
      }
      return container->prefixData() == (payloads_.contains(p) ? payloadOf(p) : payloadOf(*found)) ? found
                                                                                                   : std::nullopt;
   }
   bool longer(const IpGenPrefix& p) const { return (trie().*Calls::longer)(PrefixType(p)); }
   bool mayCountAsLonger(const IpGenPrefix& p) const { return tree_.isOnBranch(p); }

   // As a callback sees them; the default route is never among them.
   PrefixList covering(const IpGenPrefix& p) const {
      const auto report = Corvid::ptrIsImpl<ReportCb<PrefixType>>(false);  // what it says is ignored
      (trie().*Calls::longestMatch)(PrefixType(p), nullptr, report.get());
      PrefixList list(trie().isDefaultRoutePresent() ? 1 : 0, zeroLength(family));
      const PrefixList reported = withPayloads(*report);
      list.insert(list.end(), reported.begin(), reported.end());
      return list;
   }
   MaybePrefix next(const IpGenPrefix& p) const { return nextOf(trie(), p); }
   bool endsAtWhite(const IpGenPrefix& p) const { return tree_.endsAtWhite(p); }
   PrefixList subtree(const IpGenPrefix& p) const {
      return inside(p, withPayloads(*reportOfWalk<PrefixType>(trie(), p)), tree_.walk(p));
   }
   PrefixList children(const IpGenPrefix& p) const {
      return inside(p, withPayloads(*reportOfChildren<PrefixType>(trie(), p)), tree_.children(p));
   }
   PrefixList ordered() const { return withPayloads(*reportOfWalk<PrefixType>(trie(), zeroLength(family))); }

   std::string audit() const {
      const std::string fault = trie().audit();
      return fault.empty() ? treeFault(trie(), tree_) : fault;
   }
   std::string shape() const { return tree_.shape(); }
   PatriciaTrie& trie() const { return *trie_; }

  private:
   static MaybePrefix known(const PrefixType& answer) {
      const IpGenPrefix p = Calls::general(answer);
      return p == IpGenPrefix() ? std::nullopt : MaybePrefix(p);
   }
   // The reported routes that came with their own payload.
   PrefixList withPayloads(const ReportCb<PrefixType>& report) const {
      PrefixList list;
      for (std::size_t i = 0; i < report.prefixes.size(); ++i) {
         if (payloadOf(report.prefixes[i]) == report.payloads[i]) {
            list.push_back(report.prefixes[i]);
         }
      }
      return list;
   }
   // Null for the default route, whose payload no search touches.
   DataPtr payloadOf(const IpGenPrefix& p) const {
      const auto place = payloads_.find(p);
      return place == payloads_.end() ? nullptr : place->second;
   }

   TriePtr trie_ = Routing::patriciaTrieFactory(family, Plain::isCompact);
   SlowTree tree_;
   std::map<IpGenPrefix, DataPtr> payloads_;
};

using Ipv4DataEngine = PatriciaDataEngine<AddressFamily::ipv4, IpGenPrefix>;
using Ipv4CompactDataEngine = PatriciaDataEngine<AddressFamily::ipv4, CompactIpPrefix>;
using Ipv6LegacyDataEngine = PatriciaDataEngine<AddressFamily::ipv6, IpGenPrefix>;
using Ipv6CompactDataEngine = PatriciaDataEngine<AddressFamily::ipv6, CompactIpPrefix>;

template <template <class...> class List>
using PatriciaDataEngines = List<Ipv4DataEngine, Ipv4CompactDataEngine, Ipv6LegacyDataEngine, Ipv6CompactDataEngine>;

}  // namespace Property
