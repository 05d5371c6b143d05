// The audit of a multibit trie: everything that the headers of the trie and its nodes promise, recounted from the nodes.
// It takes nothing from the trie object but what it compares.
#include <fmt/format.h>

#include <bitset>

#include "routetrie/trie/multibit/Trie.h"

namespace Routing {

using namespace TrieImpl;

namespace {

class Audit {
  public:
   explicit Audit(bool mayBeBare) : mayBeBare_(mayBeBare) {}

   std::string run(const Trie& trie) {
      if (trie.root() == nullptr) {
         return "I7 the root is null";
      }
      checkNode(*trie.root(), 0, 0, 0);
      if (nodes_ != trie.nodes()) {
         fail("I7 nodes: found {}, counted {}", nodes_, trie.nodes());
      }
      if (routes_ != trie.routes()) {
         fail("I6 routes: found {}, counted {}", routes_, trie.routes());
      }
      return broken_;
   }

  private:
   template <class... Args>
   void fail(fmt::format_string<Args...> text, Args&&... args) {
      if (broken_.empty()) {
         broken_ = fmt::format(text, std::forward<Args>(args)...);
      }
   }

   // `address`, in host order, is the node's own: the keys above it.
   void checkNode(const TrieNode& node, U32 level, U32 key, U32 address) {
      const std::string name =
         fmt::format("{}/{}", Corenet::IpAddr(address).stringValue().view(), levelEndBit[level]);
      if (node.level() != level) {
         fail("I2 node {}: level {}, expected {}", name, node.level(), level);
         return;  // neither its form nor its bytes can be told
      }
      if (node.key() != key) {
         fail("I1 node {}: key {}, expected {}", name, node.key(), key);
      }
      if (level != 0 && node.isBare() && !mayBeBare_) {
         fail("I3 node {}: neither a route nor a child", name);
      }
      const U32 found = routesIn(node, name);
      routes_ += found;
      if (found != node.routes()) {
         fail("I5 node {}: found {} routes, counted {}", name, found, node.routes());
      }
      if (level < leafLevel) {
         checkChildren(node, name, address);
      } else if (node.children() != 0) {
         fail("I5 node {}: a leaf with {} children", name, node.children());
      }
   }

   // Counts the routes by their first entries.
   U32 routesIn(const TrieNode& node, const std::string& name) {
      const U32 level = node.level();
      U32 found = 0;
      for (U32 entry = 0; entry < levelEntries[level]; ++entry) {
         if (node.routeByte(entry) >> levelStride[level] != 0) {
            fail("I4 node {}: entry {} has bits of no length", name, entry);
         }
      }
      for (U32 shortOf = 0; shortOf < levelStride[level]; ++shortOf) {
         const U32 span = U32{1} << shortOf;
         for (U32 first = 0; first < levelEntries[level]; first += span) {
            U32 entries = 0;
            for (U32 entry = first; entry < first + span; ++entry) {
               entries += (node.routeByte(entry) & span) != 0;
            }
            if (entries != 0 && entries != span) {
               fail("I4 node {}: the route of length {} at entry {} is in {} of {} entries", name,
                    levelEndBit[level] - shortOf, first, entries, span);
            }
            found += (node.routeByte(first) & span) != 0;
         }
      }
      return found;
   }

   void checkChildren(const TrieNode& node, const std::string& name, U32 address) {
      const U32 level = node.level();
      U32 found = 0;
      std::bitset<256> keys;
      const auto check = [&](const TrieNode* child, U32 key) {
         ++found;
         ++nodes_;
         if (key >= levelEntries[level] || keys.test(key)) {
            fail("I5 node {}: the child key {} is out of range or there twice", name, key);
         } else {
            keys.set(key);
            checkNode(*child, level + 1, key, address | key << (32 - levelEndBit[level]));
         }
      };
      if (node.isIndirect()) {
         for (U32 key = 0; key < levelEntries[level]; ++key) {
            if (node.u_.indirect_[key] != nullptr) {
               check(node.u_.indirect_[key], key);
            }
         }
      } else {
         for (U32 i = 0; i < node.children(); ++i) {
            check(node.u_.direct_[i], node.childKey_[i]);
         }
      }
      if (found != node.children()) {
         fail("I5 node {}: found {} children, counted {}", name, found, node.children());
      }
   }

   const bool mayBeBare_;
   int nodes_ = 0;
   U32 routes_ = 0;
   std::string broken_;
};

}  // namespace

std::string Trie::audit() const { return Audit(mayHaveBareNodes_).run(*this); }

}  // namespace Routing
