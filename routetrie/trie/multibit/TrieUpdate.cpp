// Adding and removing the routes of a multibit trie, with the nodes that come and go for it.
#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/trie/WalkGuard.h"
#include "routetrie/trie/multibit/Trie.h"
#include "routetrie/trie/multibit/TrieTrace.h"

namespace Routing {

using namespace TrieImpl;

// Announces a route when the operation on it ends, in whatever way, and then puts the null prefix back. The trie lives
// until then, even if a subscriber drops the last other reference.
class Trie::RouteChangeGuard {
  public:
   RouteChangeGuard(Trie* trie, const Corenet::Prefix& prefix) : trie_(trie), prefix_(prefix) {}
   RouteChangeGuard(const RouteChangeGuard&) = delete;
   RouteChangeGuard& operator=(const RouteChangeGuard&) = delete;
   // What a subscriber raises passes out.
   ~RouteChangeGuard() noexcept(false) {
      const Rest rest{*trie_};
      trie_->changedRouteIs(prefix_);
   }

  private:
   struct Rest {
      ~Rest() { trie.changedRoute_ = Corenet::Prefix::nullPrefix(); }
      Trie& trie;
   };

   const Corvid::Ptr<Trie> trie_;
   const Corenet::Prefix prefix_;
};

namespace {

// `len` is a route bit: one bit, and the number of entries that it stands in.
bool isRouteBit(U8 len) noexcept { return static_cast<signed char>(len - 1) >= 0; }

// Removes the route with route bit `len` that starts at entry `key` of `*path`, and then the nodes that are left bare.
// Before `*path` stand the nodes on the way to it, and before the root a null.
void doClearRouteBits(U16 key, U8 len, TrieNode** path, Trie* trie) {
   ROUTETRIE_TRACE(trieTrace, 1) << "clearing route bits for 0x" << Tesk::hex << key << "- 0x" << len << Tesk::dec;
   ROUTETRIE_ASSERT(isRouteBit(len), "len && len <= 128");  // cannot fail: made by routeBitOf
   TrieNode* node = *path;
   TrieNode* parent = *--path;
   if ((node->routeByte(key) & len) != 0) {
      node->routesInc(-1);
      trie->routesInc(~U32{0});
   }
   if (parent == nullptr || !node->isBare()) {
      U8* const entries = &node->routeByte(key);
      for (U32 i = 0; i < len; ++i) {
         entries[i] = static_cast<U8>(entries[i] & ~len);
      }
      return;
   }
   // The bits of a node that goes need no clearing.
   do {
      parent->deleteChild(node);
      trie->nodesInc(-1);
      node = parent;
      parent = *--path;
   } while (parent != nullptr && node->isBare());
}

}  // namespace

void Trie::routeIs(const Corenet::Prefix& prefix, bool) {
   ROUTETRIE_CHANGING(this);
   const RouteChangeGuard guard(this, prefix);
   const U32 length = prefix.len();
   if (length == 0) {
      defaultRoutePresent_ = true;
      return;
   }
   const U32 address = prefix.bits().word();
   const U32 last = levelOf(length);
   TrieNode* node = root_;
   try {
      for (U32 level = 0; level < last; ++level) {
         node = node->getChild(keyi(level, address), this);
      }
   } catch (...) {
      mayHaveBareNodes_ = true;
      throw;
   }
   node->doSetRouteBits(static_cast<U16>(keyi(last, address)), routeBitOf(length), this);
}

bool Trie::routeDel(const Corenet::Prefix& prefix) {
   ROUTETRIE_CHANGING(this);
   const RouteChangeGuard guard(this, prefix);
   const U32 length = prefix.len();
   if (length == 0) {
      defaultRoutePresent_ = false;
      return true;
   }
   const U32 address = prefix.bits().word();
   const U32 last = levelOf(length);
   TrieNode* path[leafLevel + 2] = {nullptr, root_};  // a null above the root, then the nodes by level
   TrieNode** end = &path[1];
   for (U32 level = 0; level < last; ++level) {
      TrieNode* child = (*end)->child(keyi(level, address));
      if (child == nullptr) {
         return false;
      }
      *++end = child;
   }
   doClearRouteBits(static_cast<U16>(keyi(last, address)), routeBitOf(length), end, this);
   return true;
}

void Trie::notifyChangedRoute(const Corenet::Prefix& prefix) { const RouteChangeGuard guard(this, prefix); }

}  // namespace Routing

namespace TrieImpl {

void TrieNode::doSetRouteBits(U16 key, U8 len, Routing::Trie* trie) {
   ROUTETRIE_ASSERT(Routing::isRouteBit(len), "len && len <= 128");
   if ((routeByte(key) & len) == 0) {
      routesInc(1);
      trie->routesInc(1);
   }
   U8* const entries = &routeByte(key);
   for (U32 i = 0; i < len; ++i) {
      entries[i] = static_cast<U8>(entries[i] | len);
   }
}

}  // namespace TrieImpl
