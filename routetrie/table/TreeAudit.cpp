// For developers: the invariants of Tree.h recounted from the nodes, and the tree as text.
#include <fmt/format.h>

#include <cstring>
#include <iterator>

#include "routetrie/table/TreeStandings.h"

namespace routetrie::Impl {

namespace {

template <unsigned width>
std::string prefixText(Corenet::AddressBits<width> bits, unsigned length) {
   std::string text;
   for (unsigned at = 0; at < width; at += width == 32 ? 8 : 16) {
      if constexpr (width == 32) {
         text += fmt::format("{}{}", at != 0 ? "." : "", bits.word() >> (24 - at) & 255);
      } else {
         text += fmt::format("{}{:x}", at != 0 ? ":" : "", static_cast<unsigned>(bits.word() >> (112 - at)) & 0xffff);
      }
   }
   return fmt::format("{}/{}", text, length);
}

}  // namespace

template <unsigned width>
class Tree<width>::Audit {
  public:
   explicit Audit(const Tree& tree) noexcept : tree_(tree) {}

   std::string run() {
      if (tree_.root_ != 0) {
         check(tree_.root_, 0, Bits());
      }
      if (fault_.empty() && routes_ + (tree_.hasDefault_ ? 1 : 0) != tree_.size_) {
         fault_ =
            fmt::format("size() is {}, and {} routes are there", tree_.size_, routes_ + (tree_.hasDefault_ ? 1 : 0));
      }
      if (fault_.empty()) {
         checkIndex();
      }
      if (fault_.empty() && tree_.store_ != nullptr) {
         const Store& store = *tree_.store_;
         store.addDead(Store::ofNodes, nodes_);
         store.addDead(Store::ofPages, pageRuns_);
         if (const char* fault = tree_.store_->nodes.audit(nodes_); *fault != 0) {
            fault_ = fmt::format("nodes: {}", fault);
         } else if (fault = tree_.store_->hasPages() ? tree_.store_->pages().audit(pageRuns_) : ""; *fault != 0) {
            fault_ = fmt::format("pages of the index: {}", fault);
         }
      }
      return fault_;
   }

  private:
   static void hold(std::vector<Arena::Run>& runs, U32 at, unsigned units) { runs.push_back({at, units}); }
   bool fail(const char* fault, Bits bits, unsigned depth) {
      if (fault_.empty()) {
         fault_ = fmt::format("{}, under {}", fault, prefixText(bits.cut(depth), depth));
      }
      return false;
   }

   bool check(U32 at, unsigned depth, Bits bits) {
      const Node& n = tree_.node(at);
      hold(nodes_, at, tree_.unitsOf(n));
      if (n.isCompressed()) {
         return checkCompressed(n, depth, bits);
      }
      if (depth >= width) {
         return fail("a node behind the last bit", bits, depth);
      }
      const unsigned routes = n.routeCount();
      const unsigned children = n.childCount();
      if (depth != 0 && routes + children == 0) {
         return fail("a node without routes and children", bits, depth);
      }
      if (n.routes[1] >> 63 != 0) {
         return fail("a route behind the 63 places", bits, depth);
      }
      routes_ += routes;
      for (unsigned half = 0; half < 2; ++half) {
         for (U64 rest = n.routes[half]; rest != 0; rest &= rest - 1) {
            if (depth + places[static_cast<unsigned>(std::countr_zero(rest))].length > width) {
               return fail("a route longer than an address", bits, depth);
            }
         }
      }
      if (children == 0) {
         return true;
      }
      if (depth != 0 && routes == 0 && children == 1 && isBare(tree_.node(n.numbers()[0])) &&
          !isAlone(tree_.node(n.numbers()[0]))) {
         return fail("a way without a choice is not compressed", bits, depth);
      }
      const U32* child = n.numbers();
      for (U64 rest = n.children; rest != 0; rest &= rest - 1) {
         const auto chunk = static_cast<unsigned>(std::countr_zero(rest));
         if (!check(*child++, depth + stride, withChunk(bits, depth, chunk))) {
            return false;
         }
      }
      return true;
   }
   static bool isAlone(const Node& n) { return !n.isCompressed() && n.children == 0 && n.routeCount() == 1; }

   bool checkCompressed(const Node& n, unsigned depth, Bits bits) {
      const Bits key = keyOf<width>(n);
      const unsigned length = n.length();
      if (length > width || !key.sharesFirst(bits, depth) || !key.isZeroPast(length)) {
         return fail("a compressed node with the bits of another place", bits, depth);
      }
      if (n.isLeaf()) {
         ++routes_;
         return length > depth + 2 * stride || fail("a leaf that is too short", bits, depth);
      }
      if (length < depth + 2 * stride || length % stride != 0) {
         return fail("a skip that is too short or ends within six bits", bits, depth);
      }
      if (isBare(tree_.node(n.target()))) {
         return fail("a skip to a node that has no choice", bits, depth);
      }
      return check(n.target(), length, key);
   }

   void checkIndex() {
      if (tree_.index_ == 0) {
         // One that could not be retired is read by nobody, but its pages are there.
         holdPages(tree_.store_ != nullptr ? tree_.store_->lostIndex() : 0);
         return;
      }
      holdPages(tree_.index_);
      std::size_t told = 0;
      tree_.standings(tree_.root_, 0, Bits(), Bits(), 0, [&](Bits bits, U32 at) {
         const U32* const slot = tree_.slotOf(bits);
         told += slot != nullptr ? 1u : 0u;
         if (slot != nullptr && *slot != at) {
            fail("the index leads elsewhere", bits, indexDepth);
         }
      });
      std::size_t written = 0;
      unsigned pages = 0;
      tree_.eachPageOfIndex(tree_.index_, [&](U32 block, unsigned, unsigned level) {
         pages += level < pageLevels ? 1u : 0u;
         for (unsigned i = 0; level == 0 && i < 1u << stride; ++i) {
            written += tree_.page(block)[i] != 0 ? 1u : 0u;
         }
      });
      if (told != written) {
         fail("the index leads to what is gone", Bits(), 0);
      } else if (pages != tree_.pages_) {
         fail("the pages of the index are counted wrong", Bits(), 0);
      }
   }

   void holdPages(U32 top) {
      if (top == 0) {
         return;
      }
      tree_.eachPageOfIndex(top, [&](U32 block, unsigned units, unsigned) { hold(pageRuns_, block, units); });
   }

   const Tree& tree_;
   std::string fault_;
   std::size_t routes_ = 0;
   std::vector<Arena::Run> nodes_;
   std::vector<Arena::Run> pageRuns_;
};

template <unsigned width>
std::string Tree<width>::audit() const {
   return Audit(*this).run();
}

// A node a line, indented by its depth in the tree, with the routes that it holds:
//
//    10.0.0.0/8
//       10.1.0.0/16 leaf
template <unsigned width>
void Tree<width>::dump(std::string& out) const {
   if (hasDefault_) {
      out += "default route\n";
   }
   if (root_ != 0) {
      dumpNode(out, node(root_), 0, Bits(), 0);
   }
   if (index_ != 0) {
      fmt::format_to(std::back_inserter(out), "index to {} bits, {} pages\n", indexDepth, pages_);
   }
}

template <unsigned width>
void Tree<width>::dumpNode(std::string& out, const Node& n, unsigned depth, Bits bits, unsigned indent) const {
   out.append(indent, ' ');
   if (n.isCompressed()) {
      out += prefixText(keyOf<width>(n), n.length());
      out += n.isLeaf() ? " leaf\n" : " skip\n";
      if (!n.isLeaf()) {
         dumpNode(out, node(n.target()), n.length(), keyOf<width>(n), indent + 3);
      }
      return;
   }
   out += fmt::format("{} node:", prefixText(bits, depth));
   for (unsigned half = 0; half < 2; ++half) {
      for (U64 rest = n.routes[half]; rest != 0; rest &= rest - 1) {
         const Place where = places[static_cast<unsigned>(std::countr_zero(rest))];
         out += ' ';
         out += prefixText(withChunk(bits, depth, half << 5 | where.low), depth + where.length);
      }
   }
   out += '\n';
   const U32* child = n.numbers();
   for (U64 rest = n.children; rest != 0; rest &= rest - 1) {
      dumpNode(out, node(*child++), depth + stride,
               withChunk(bits, depth, static_cast<unsigned>(std::countr_zero(rest))), indent + 3);
   }
}

template std::string Tree<32>::audit() const;
template std::string Tree<128>::audit() const;
template void Tree<32>::dump(std::string&) const;
template void Tree<128>::dump(std::string&) const;

}  // namespace routetrie::Impl
