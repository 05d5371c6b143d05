// The audit of a PatriciaTrie: everything that the headers of the trie and its nodes promise, recounted from the nodes.
// It takes nothing from the trie object but what it compares.
#include <fmt/format.h>

#include <type_traits>

#include "routetrie/platform/Corenet/AddressBits.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieNodeWithDataImpl.h"

namespace Routing {

namespace {

template <class NodeClass>
class Audit {
  public:
   using Bits = Corenet::AddressBits<NodeClass::width>;

   std::string run(const PatriciaTrie& trie) {
      const auto* root = static_cast<const NodeClass*>(trie.root());
      if (root != nullptr) {
         checkNode(*root);
      }
      if (root == nullptr && trie.nodes() != 0) {
         fail("I7 the root is null, and {} nodes are counted", trie.nodes());
      }
      if (nodes_ != trie.nodes()) {
         fail("I7 nodes: found {}, counted {}", nodes_, trie.nodes());
      }
      const U32 routes = blackLengths_ + (trie.defaultRoutePresent() ? 1 : 0);
      if (!trie.nodeDataEnabled() && routes != trie.routes()) {
         fail("I6 routes: found {}, counted {}", routes, trie.routes());
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

   void checkNode(const NodeClass& node) {
      ++nodes_;
      const U32 length = node.len();
      if (length > NodeClass::width || !node.bits().isZeroPast(length)) {
         fail("I5 key {}: bits past the length", nameOf(node));
      }
      checkBlackLengths(node);
      const auto* left = static_cast<const NodeClass*>(node.left_);
      const auto* right = static_cast<const NodeClass*>(node.right_);
      if ((left == nullptr) != (right == nullptr)) {
         fail("I1 node {}: one child", nameOf(node));
      }
      for (const auto* child : {left, right}) {
         if (child != nullptr) {
            checkLink(node, *child, child == right);
            checkNode(*child);
         }
      }
   }

   void checkBlackLengths(const NodeClass& node) {
      U32 count = 0;
      for (U32 length = 1; length <= NodeClass::width; ++length) {
         if (node.black(length)) {
            ++count;
            if (length > node.len()) {
               fail("I3 node {}: black length {} past the key", nameOf(node), length);
            }
         }
      }
      blackLengths_ += count;
      if constexpr (requires { node.dataArray(); }) {
         if (node.dataArray().size() != count) {
            fail("I6 node {}: {} payloads for {} routes", nameOf(node), node.dataArray().size(), count);
         }
      }
   }

   void checkLink(const NodeClass& parent, const NodeClass& child, bool isRight) {
      const U32 length = parent.len();
      if (child.len() <= length || child.bits().cut(length) != parent.bits()) {
         fail("I2 node {}: does not extend its parent {}", nameOf(child), nameOf(parent));
      }
      if (child.bits().bit(length) != isRight) {
         fail("I2 node {}: on the wrong side of its parent {}", nameOf(child), nameOf(parent));
      }
      for (U32 black = 1; black <= length; ++black) {
         if (child.black(black)) {
            fail("I3 node {}: black length {} belongs to its parent {}", nameOf(child), black, nameOf(parent));
         }
      }
   }

   static std::string nameOf(const NodeClass& node) {
      return fmt::format("{}/{}", node.prefix().stringValue().view(), node.len());
   }

   int nodes_ = 0;
   U32 blackLengths_ = 0;
   std::string broken_;
};

}  // namespace

std::string PatriciaTrie::audit() const {
   const auto run = [&]<class NodeClass>(std::type_identity<NodeClass>) { return Audit<NodeClass>().run(*this); };
   return nodeDataEnabled_ ? PatriciaTrieImpl::nodeClassVisit<NodeWithDataPicker>(paf_, run)
                           : PatriciaTrieImpl::nodeClassVisit<PatriciaTrieImpl::NodePicker>(paf_, run);
}

}  // namespace Routing
