#include "routetrie/trie/front/TrieGen.h"

#include <algorithm>

#include "routetrie/platform/BriskTrace/BriskTrace.h"
#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/trie/front/Trie6Trace.h"
#include "routetrie/trie/multibit/TrieBulk.h"
#include "routetrie/trie/multibit/TrieTrace.h"
#include "routetrie/trie/patricia/PatriciaTrieBulk.h"

namespace Routing {

using Corenet::AddressFamily;
using Corenet::IpGenPrefix;

Tesk::AllocTrackTypeInfo* TrieGen::memAllocationTracker_ = nullptr;

namespace {

enum Published : Corvid::FieldId {
   changedRouteId = 140,
   routeUpdatedId = 143,
   trie4Id = 144,
   trie6Id = 145,
   cb4Id = 146,
   cb6Id = 147,
   initializeId = 148,
   defaultRoutePresentId = 151,
};

}  // namespace

TrieGen::TrieGen(const Corvid::String& name, AddressFamily af) : af_(af), name_(name) { handleInitialize(); }

TrieGen::~TrieGen() {
   nodeFlagSet(Corvid::nodeFlagAlive, false);
   const auto dropped = [](auto take) noexcept {
      try {
         take();
      } catch (...) {
         // A watcher's. The adapter is out by now, and what is left to do is to go.
      }
   };
   dropped([this] { cb4Del(); });
   dropped([this] { cb6Del(); });
}

Corvid::Ptr<TrieGen> TrieGen::TrieGenIs(const Corvid::String& name, AddressFamily af) {
   return Corvid::ptrIsImpl<TrieGen>(name, af);
}

Corvid::Ptr<TrieGen> trieGenFactory(const Corvid::String& name, AddressFamily af) {
   return TrieGen::TrieGenIs(name, af);
}

Corvid::Publisher* TrieGen::publisher() const { return &publisher_; }

//--- attributes ---

void TrieGen::changedRouteIs(const IpGenPrefix& p) { publisher_.attributeIs(changedRouteId, changedRoute_, p); }

void TrieGen::routeUpdatedIs(bool value) { publisher_.attributeIs(routeUpdatedId, routeUpdated_, value); }

void TrieGen::trie4Is(const Corvid::Ptr<Trie>& trie) { publisher_.attributeIs(trie4Id, trie4_, trie); }

void TrieGen::trie6Is(const Corvid::Ptr<Routing6::Trie>& trie) { publisher_.attributeIs(trie6Id, trie6_, trie); }

void TrieGen::initializeIs(bool value) { publisher_.attributeIs(initializeId, initialize_, value); }

void TrieGen::defaultRoutePresentIs(bool value) {
   publisher_.attributeIs(defaultRoutePresentId, defaultRoutePresent_, value);
}

namespace {

template <class T>
Corvid::Ptr<T> adapterIs(Corvid::Publisher& publisher, Corvid::FieldId id, Corvid::Ptr<T>& adapter) {
   if (!adapter) {
      publisher.attributeIs(id, adapter, Corvid::ptrIsImpl<T>());
   }
   return adapter;
}

template <class T>
Corvid::Ptr<T> adapterDel(Corvid::Publisher& publisher, Corvid::FieldId id, Corvid::Ptr<T>& adapter) {
   Corvid::Ptr<T> taken = adapter;
   publisher.attributeIs(id, adapter, Corvid::Ptr<T>());
   return taken;
}

}  // namespace

Corvid::Ptr<TrieWalkCallback4> TrieGen::cb4Is() { return adapterIs(publisher_, cb4Id, cb4_); }

Corvid::Ptr<TrieWalkCallback4> TrieGen::cb4Del() { return adapterDel(publisher_, cb4Id, cb4_); }

Corvid::Ptr<TrieWalkCallback6> TrieGen::cb6Is() { return adapterIs(publisher_, cb6Id, cb6_); }

Corvid::Ptr<TrieWalkCallback6> TrieGen::cb6Del() { return adapterDel(publisher_, cb6Id, cb6_); }

void TrieGen::handleInitialize() {
   ROUTETRIE_TRACE(trieGenTrace, 8) << __PRETTY_FUNCTION__ << "Address Family is " << af_;
   // The line says V4 for both families: whoever follows the trace counts on one text for an engine that is made.
   if (af_ == Corenet::ipv4()) {
      ROUTETRIE_TRACE(trieGenTrace, 8) << "Initializing V4 Trie";
      trie4Is(trieFactory());
   } else if (af_ == Corenet::ipv6()) {
      ROUTETRIE_TRACE(trieGenTrace, 8) << "Initializing V4 Trie";
      trie6Is(Routing6::trieFactory());
   }
   cb4Is();
   cb6Is();
}

//--- changing routes ---

void TrieGen::routeIs(const IpGenPrefix& p, bool) {
   ROUTETRIE_TRACE(trieGenTrace, 8) << __PRETTY_FUNCTION__ << "( " << p << " )";
   ROUTETRIE_TIME_BLOCK("TrieGen");
   ROUTETRIE_ASSERT(p.af() == af());
   const Corvid::Ptr<TrieGen> held(this);  // a watcher may drop the last other reference
   if (p.len() != 0 && p.len() != Corenet::nullPrefixLength && !isFollowed()) {
      addUnseen(p);
      return;
   }
   const bool isPresent = route(p);
   routeUpdatedIs(isPresent);
   if (!isPresent) {
      addToEngine(p);
      followEngine();
   }
   announce(p);
}

void TrieGen::addToEngine(const IpGenPrefix& p) {
   if (af_ == Corenet::ipv4()) {
      trie4_->routeIs(p.v4Prefix(), true);
   } else if (af_ == Corenet::ipv6()) {
      trie6_->routeIs(p.v6Prefix(), true);
   }
}

void TrieGen::followEngine() {
   if (af_ == Corenet::ipv4()) {
      defaultRoutePresentIs(trie4_->defaultRoutePresent());
   } else if (af_ == Corenet::ipv6()) {
      defaultRoutePresentIs(trie6_->defaultRoutePresent());
   }
}

bool TrieGen::isFollowed() const {
   if (isTold() || (TrieImpl::trieTrace.mask() | Routing6::trie6Trace.mask()) != 0 || publisher_.hasWatchers()) {
      return true;
   }
   return af_ == Corenet::ipv4() ? trie4_->publisher()->hasWatchers()
          : af_ == Corenet::ipv6()
             ? trie6_->publisher()->hasWatchers() || trie6_->iterators() != 0 || trie6_->nodeDataEnabled()
             : true;
}

namespace {

// Whether the route is there, by a descent to its own level and no further. Requires: its length is 1 to 32.
bool isIn(const Trie& trie, const Corenet::Prefix& route) {
   const TrieImpl::TrieNode* node = TrieImpl::lpmNode(trie.root(), route);
   return node != nullptr &&
          (node->routeByte(keyi(node->level(), route.bits().word())) & TrieImpl::routeBitOf(route.len())) != 0;
}

// Adds the route unless it is there, in which case nothing is touched; whether it was there.
bool addedBefore(Trie& trie, const Corenet::Prefix& route) {
   const bool isPresent = isIn(trie, route);
   if (!isPresent) {
      trie.routeIs(route, true);
   }
   return isPresent;
}
// The update of a Patricia trie leaves a present route alone, and its count tells it.
bool addedBefore(Routing6::Trie& trie, const IpGenPrefix& route) {
   const U32 before = trie.routes();
   trie.updateRoute(route, nullptr);
   const bool wasPresent = trie.routes() == before;
   if (!wasPresent) {
      trie.notifyChangedRoute(route.v6Prefix());
   }
   return wasPresent;
}

}  // namespace

void TrieGen::addUnseen(const IpGenPrefix& p) {
   routeUpdated_ = false;
   routeUpdated_ = af_ == Corenet::ipv4() ? addedBefore(*trie4_, p.v4Prefix()) : addedBefore(*trie6_, p);
   if (!routeUpdated_) {
      followEngine();
   }
   announce(p);
}

bool TrieGen::routeDel(const IpGenPrefix& p) {
   ROUTETRIE_TRACE(trieGenTrace, 8) << __PRETTY_FUNCTION__ << "( " << p << " )";
   ROUTETRIE_ASSERT(p.af() == af());
   const Corvid::Ptr<TrieGen> held(this);
   routeUpdatedIs(false);
   bool wasThere = false;
   if (af_ == Corenet::ipv4()) {
      wasThere = trie4_->routeDel(p.v4Prefix());
   } else if (af_ == Corenet::ipv6()) {
      wasThere = trie6_->routeDel(p.v6Prefix());
   }
   followEngine();
   announce(p);
   return wasThere;
}

void TrieGen::notifyChangedRoute(const IpGenPrefix& p) {
   const Corvid::Ptr<TrieGen> held(this);
   announce(p);
}

void TrieGen::announce(const IpGenPrefix& p) { publisher_.pulse(changedRouteId, changedRoute_, p, IpGenPrefix()); }

//--- looking routes up ---

bool TrieGen::route(const IpGenPrefix& p) const {
   ROUTETRIE_TRACE(trieGenTrace, 8) << __PRETTY_FUNCTION__ << "( " << p << " )";
   return p.af() == af_ && longestMatch(p) == p;
}

void TrieGen::longestMatchTold(const IpGenPrefix& p, const char* function, IpGenPrefix& answer) const {
   ROUTETRIE_TRACE(trieGenTrace, 8, "longestMatch") << function << "( " << p << " )";
   ROUTETRIE_TIME_BLOCK_OF("TrieGen", function);
   if (p.af() != af()) {
      __assert_fail("p.af() == af()", __FILE__, __LINE__, function);  // of the function that was called
   }
   const auto told = [](const auto& found) {
      ROUTETRIE_TRACE(trieGenTrace, 8, "longestMatch") << "Longest Match returned " << found;
      return matchOrEmpty(found);
   };
   answer = af_ == Corenet::ipv4()   ? told(trie4_->longestMatch(p.v4Prefix()))
            : af_ == Corenet::ipv6() ? told(trie6_->longestMatch(p.v6Prefix()))
                                     : IpGenPrefix();
}

namespace {

// What a burst asks of either engine: of IPv4 its own prefix type, of IPv6 the generic one, which is the engine's, too.
struct GenFace4 {
   using Prefix = IpGenPrefix;
   static Corenet::Prefix asked(const IpGenPrefix& query) {
      ROUTETRIE_ASSERT(query.af() == Corenet::ipv4(), "p.af() == af()");
      return query.v4Prefix();
   }
   static IpGenPrefix answered(const Corenet::Prefix& found) { return found.isNullPrefix() ? IpGenPrefix() : found; }
};

struct GenFace6 : OwnFace<IpGenPrefix> {
   static const IpGenPrefix& asked(const IpGenPrefix& query) {
      ROUTETRIE_ASSERT(query.af() == Corenet::ipv6(), "p.af() == af()");
      return query;
   }
};

}  // namespace

void TrieGen::longestMatchBulk(std::span<const IpGenPrefix> prefixes, std::span<IpGenPrefix> answers) const {
   if (!isTold() && af_ == Corenet::ipv4()) {
      longestMatchBulkAs<GenFace4>(*trie4_, prefixes, answers);
      return;
   }
   if (!isTold() && af_ == Corenet::ipv6()) {
      longestMatchBulkAs<GenFace6>(*trie6_, prefixes, answers);
      return;
   }
   ROUTETRIE_ASSERT(prefixes.size() == answers.size(), "queries.size() == answers.size()");
   std::transform(prefixes.begin(), prefixes.end(), answers.begin(),
                  [this](const IpGenPrefix& p) { return longestMatch(p); });
}

IpGenPrefix TrieGen::findParent(const IpGenPrefix& p) const {
   if (p.af() == Corenet::ipv4()) {
      return trie4_->findParent(p.v4Prefix());
   }
   if (p.af() == Corenet::ipv6()) {
      return trie6_->findParent(p.v6Prefix());
   }
   ROUTETRIE_TRACE(trieGenTrace, 0) << __PRETTY_FUNCTION__ << " unknown AF";
   return Corenet::Prefix::nullPrefix();
}

bool TrieGen::longerRoutePresent(const IpGenPrefix& p) const {
   return p.af() == Corenet::ipv4() ? trie4_->longerRoutePresent(p.v4Prefix())
                                    : trie6_->longerRoutePresent(p.v6Prefix());
}

bool TrieGen::isDefaultRoutePresent() const {
   return af_ == Corenet::ipv4()   ? trie4_->isDefaultRoutePresent()
          : af_ == Corenet::ipv6() ? trie6_->isDefaultRoutePresent()
                                   : false;
}

int TrieGen::nodes() const {
   return af_ == Corenet::ipv4() ? trie4_->nodes() : af_ == Corenet::ipv6() ? trie6_->nodes() : 0;
}

U32 TrieGen::routes() const {
   return af_ == Corenet::ipv4() ? trie4_->routes() : af_ == Corenet::ipv6() ? trie6_->routes() : 0;
}

void TrieGen::preOrderWalk(const IpGenPrefix& subtreeRoot, const Corvid::Ptr<TrieGenWalkCallback>& callback) {
   if (subtreeRoot.af() == Corenet::ipv4()) {
      cb4_->currentWalkCallbackIs(callback);
      trie4_->preOrderWalk(subtreeRoot.v4Prefix(), cb4_);
      cb4_->currentWalkCallbackIs(nullptr);
   } else if (subtreeRoot.af() == Corenet::ipv6()) {
      cb6_->currentWalkCallbackIs(callback);
      trie6_->preOrderWalk(subtreeRoot, cb6_.get());
      cb6_->currentWalkCallbackIs(nullptr);
   }
}

void TrieGen::doDump() {
   if (af_ == Corenet::ipv4()) {
      trie4_->doDump();
   } else if (af_ == Corenet::ipv6()) {
      trie6_->doDump();
   }
}

std::string TrieGen::audit() const {
   if (changedRoute_ != IpGenPrefix()) {
      return "changedRoute is not at rest";
   }
   if ((trie4_ != nullptr) != (af_ == Corenet::ipv4()) || (trie6_ != nullptr) != (af_ == Corenet::ipv6())) {
      return "the engine is not the family's";
   }
   return trie4_ ? trie4_->audit() : trie6_ ? trie6_->audit() : "";
}

}  // namespace Routing
