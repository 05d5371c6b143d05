// MultibitEngine: the multibit IPv4 trie behind the battery's adapter. What the trie tells by special values, such as the
// null prefix for no route, is checked here and turned into the battery's plain answers.
//
// A delete of the trie tells whether it reached a node. The adapter tells whether there was a route, as everyone else does, and
// keeps what it found wrong with the trie's own answer for the audit.
#pragma once

#include <fmt/format.h>

#include <string>
#include <string_view>

#include "routetrie/trie/multibit/Trie.h"
#include "routetrie/trie/multibit/TrieWalkCallbackTest.h"
#include "tests/property/Battery.h"

namespace Property {

class MultibitEngine {
  public:
   static constexpr Corenet::AddressFamily family = Corenet::AddressFamily::ipv4;
   static constexpr std::string_view name = "Multibit";
   static constexpr U32 abilities = parentAbility | longerAbility | nextAbility | subtreeAbility | orderedAbility;
   static constexpr Habits habits{.nextOfAbsentIsNone = true};

   void add(const IpGenPrefix& p) { trie().routeIs(p.v4Prefix(), true); }
   bool remove(const IpGenPrefix& p) {
      const bool was = exact(p);
      const bool isReached = TrieImpl::lpmNode(trie().root(), p.v4Prefix()) != nullptr;
      if (trie().routeDel(p.v4Prefix()) != isReached && fault_.empty()) {
         fault_ = fmt::format("routeDel({}): found {}", p.stringValue().view(), textOf(!isReached));
      }
      return was;
   }
   std::size_t routes() const { return trie().routes() + std::size_t{trie().isDefaultRoutePresent()}; }

   bool exact(const IpGenPrefix& p) const { return trie().route(p.v4Prefix()); }
   MaybePrefix longestMatch(const IpGenPrefix& p) const { return known(trie().longestMatch(p.v4Prefix())); }
   MaybePrefix parent(const IpGenPrefix& p) const { return known(trie().findParent(p.v4Prefix())); }
   bool longer(const IpGenPrefix& p) const { return trie().longerRoutePresent(p.v4Prefix()); }
   // The default route comes after nothing, so its value stands for the end.
   MaybePrefix next(const IpGenPrefix& p) const {
      const auto found = trie().getNext(p.v4Prefix());
      return found == Corenet::Prefix() ? std::nullopt : MaybePrefix(found);
   }
   PrefixList subtree(const IpGenPrefix& p) const {
      const auto recorder = Routing::trieWalkCallbackTestFactory();
      trie().preOrderWalk(p.v4Prefix(), recorder);
      PrefixList list;
      while (!recorder->walkedPrefix().empty()) {
         list.push_back(recorder->walkedPrefixDeq());
      }
      return list;
   }
   PrefixList ordered() const { return subtree(Corenet::Prefix()); }

   std::string audit() const {
      std::string fault = fault_.empty() ? trie().audit() : fault_;
      if (fault.empty() && trie().empty() != (routes() == 0)) {
         fault = "empty() belies routes()";
      }
      if (fault.empty() && trie().changedRoute() != Corenet::Prefix::nullPrefix()) {
         fault = "changedRoute() is not at rest";
      }
      return fault;
   }

   // The nodes, child by child as they stand: equal only for tries that answer every question alike.
   std::string shape() const { return (trie().isDefaultRoutePresent() ? "*" : "") + shape(*trie().root()); }

   Routing::Trie& trie() const { return *trie_; }

  private:
   static MaybePrefix known(const Corenet::Prefix& answer) {
      return answer.isNullPrefix() ? std::nullopt : MaybePrefix(answer);
   }

   static std::string shape(const TrieImpl::TrieNode& node) {
      std::string text = "(";
      const U32 entries = TrieImpl::levelEntries[node.level()];
      for (U32 entry = 0; entry < entries; ++entry) {
         if (node.routeByte(entry) != 0) {
            text += fmt::format("{}:{},", entry, node.routeByte(entry));
         }
      }
      const auto child = [&](U32 key) { text += fmt::format("{}", key) + shape(*node.child(key)); };
      if (node.isIndirect()) {
         text += '#';
         for (U32 key = 0; key < entries; ++key) {
            if (node.child(key) != nullptr) {
               child(key);
            }
         }
      } else {
         for (U32 i = 0; i < node.children(); ++i) {
            child(node.childKey_[i]);
         }
      }
      return text + ")";
   }

   Corvid::Ptr<Routing::Trie> trie_ = Routing::trieFactory();
   std::string fault_;
};

static_assert(Engine<MultibitEngine>);

}  // namespace Property
