// What a tree is made of, level by level.
#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <ostream>

#include "routetrie/statistics.h"
#include "routetrie/table/Tree.h"

namespace routetrie::Impl {

template <unsigned width>
class Tree<width>::Census {
  public:
   explicit Census(const Tree& tree) : tree_(tree) {
      levels_.resize(Tree::levels);
      for (unsigned level = 0; level < Tree::levels; ++level) {
         levels_[level].depth = level * stride;
      }
   }

   // `above`: the nodes from the root to this one, which is not counted.
   void count(const Node& n, unsigned depth, unsigned above) {
      table_level& level = levels_[depth / stride];
      const std::size_t bytes = tree_.unitsOf(n) * sizeof(Node);
      if (n.isCompressed()) {
         if (n.isLeaf()) {
            ++level.leaves;
            level.leaf_bytes += bytes;
            found(level, 1, above + 1);
         } else {
            ++level.skips;
            level.skip_bytes += bytes;
            count(tree_.node(n.target()), n.length(), above + 1);
         }
         return;
      }
      ++level.nodes;
      level.node_bytes += bytes;
      if (const unsigned routes = n.routeCount(); routes != 0) {
         found(level, routes, above + 1);
      }
      for (unsigned i = 0; i < n.childCount(); ++i) {
         count(tree_.node(n.numbers()[i]), depth + stride, above + 1);
      }
   }

   table_statistics result() {
      std::erase_if(levels_, [](const table_level& level) { return level.bytes() == 0; });
      statistics_.levels = std::move(levels_);
      return std::move(statistics_);
   }

  private:
   void found(table_level& level, std::size_t routes, unsigned depth) {
      level.routes += routes;
      statistics_.depths += routes * depth;
      statistics_.worst_depth = std::max(statistics_.worst_depth, depth);
   }

   const Tree& tree_;
   std::vector<table_level> levels_;
   table_statistics statistics_;
};

template <unsigned width>
table_statistics Tree<width>::statistics() const {
   Census census(*this);
   if (root_ != 0) {
      census.count(node(root_), 0, 0);
   }
   table_statistics statistics = census.result();
   statistics.routes = size();
   statistics.memory = memory();
   if (store_ == nullptr) {  // a version: the memory is another's
      for (const table_level& level : statistics.levels) {
         statistics.memory.nodes += level.bytes();
      }
   }
   return statistics;
}

template table_statistics Tree<32>::statistics() const;
template table_statistics Tree<128>::statistics() const;

std::string textOf(const table_statistics& s) {
   std::string text = fmt::format("routes {}, {:.2f} nodes deep on average, {} at most\n", s.routes,
                                  s.average_depth(), s.worst_depth);
   const auto to = std::back_inserter(text);
   constexpr const char* line = "  {:>3}  {:>9}  {:>10}  {:>9}  {:>10}  {:>9}  {:>10}  {:>9}\n";
   if (!s.levels.empty()) {
      fmt::format_to(to, line, "bit", "nodes", "bytes", "leaves", "bytes", "skips", "bytes", "routes");
   }
   for (const table_level& level : s.levels) {
      fmt::format_to(to, line, level.depth, level.nodes, level.node_bytes, level.leaves, level.leaf_bytes,
                     level.skips, level.skip_bytes, level.routes);
   }
   fmt::format_to(to, "{}\n", s.memory);
   return text;
}

}  // namespace routetrie::Impl

std::ostream& routetrie::operator<<(std::ostream& out, const table_statistics& s) { return out << Impl::textOf(s); }
