#include "routetrie/table/Aggregation.h"

#include <algorithm>
#include <iterator>

namespace routetrie::Impl {

template <unsigned width>
std::vector<typename Aggregation<width>::Route> Aggregation<width>::result() {
   if (!routes_.empty()) {
      nodes_.reserve(2 * routes_.size());
      nodes_.push_back({});  // so that number 0 is none
      const U32 top = build(0, routes_.size(), none);
      emitEdge(top, 0, none, none);
   }
   return std::move(result_);
}

// A node for the routes from `first` to `last`, of which there are some, and all below it.
template <unsigned width>
typename Aggregation<width>::U32 Aggregation<width>::build(std::size_t first, std::size_t last, U32 filler) {
   const Route& head = routes_[first];
   const unsigned common = std::min<unsigned>(head.length, head.bits.commonLength(routes_[last - 1].bits));
   Node n{head.bits.cut(common), filler, {0, 0}, just(filler), static_cast<U8>(common), head.length == common, false};
   if (n.isRoute) {
      n.filler = head.value;
      ++first;
   }
   const auto number = static_cast<U32>(nodes_.size());
   nodes_.push_back(n);
   if (first == last) {
      nodes_[number].may = just(n.filler);
      return number;
   }
   const auto from = routes_.begin() + static_cast<std::ptrdiff_t>(first);
   const auto to = routes_.begin() + static_cast<std::ptrdiff_t>(last);
   const auto border = std::partition_point(from, to, [&](const Route& r) { return r.bits.bitWithin(common) == 0; });
   const auto middle = static_cast<std::size_t>(border - routes_.begin());
   if (first != middle) {
      n.half[0] = build(first, middle, n.filler);
   }
   if (middle != last) {
      n.half[1] = build(middle, last, n.filler);
   }
   const Set low = halfMay(n, 0);
   const Set high = halfMay(n, 1);
   n.may = meet(low, high);
   n.isSplit = n.may.size == low.size + high.size;
   nodes_[number] = n;
   return number;
}

// What the half of a node may have as a whole.
template <unsigned width>
typename Aggregation<width>::Set Aggregation<width>::halfMay(const Node& n, unsigned half) {
   if (n.half[half] == 0) {
      return just(n.filler);
   }
   const Node& below = nodes_[n.half[half]];
   switch (below.length - n.length) {
      case 1: return below.may;
      case 2: return meet(below.may, just(n.filler));
      default: return just(n.filler);
   }
}

template <unsigned width>
bool Aggregation<width>::contains(const Set& s, U32 value) const {
   return s.size == 1 ? s.first == value : std::binary_search(begin(s), begin(s) + s.size, value);
}

template <unsigned width>
typename Aggregation<width>::Set Aggregation<width>::meet(const Set& a, const Set& b) {
   if (a.size == 1 && b.size == 1 && a.first == b.first) {
      return a;
   }
   if ((a.size == 1 && a.first == none) || (b.size == 1 && b.first == none)) {
      return just(none);
   }
   if (a.size == 1 || b.size == 1) {
      const Set& one = a.size == 1 ? a : b;
      if (contains(a.size == 1 ? b : a, one.first)) {
         return one;
      }
   }
   // The pool may move as it grows: what is read from it is found anew.
   const std::size_t from = pool_.size();
   pool_.resize(from + a.size + b.size);
   const auto out = pool_.begin() + static_cast<std::ptrdiff_t>(from);
   auto end = std::set_intersection(begin(a), begin(a) + a.size, begin(b), begin(b) + b.size, out);
   if (end == out) {
      end = std::set_union(begin(a), begin(a) + a.size, begin(b), begin(b) + b.size, out);
   }
   pool_.erase(end, pool_.end());
   return keep(from);
}

// The end of the pool as a set.
template <unsigned width>
typename Aggregation<width>::Set Aggregation<width>::keep(std::size_t from) {
   const auto size = static_cast<U32>(pool_.size() - from);
   if (size != 1) {
      return {static_cast<U32>(from), size};
   }
   const U32 value = pool_.back();
   pool_.pop_back();
   return just(value);
}

// The routes of an edge and of all below it: it begins at length `from`, its halves have `filler`, and `above` comes from above.
template <unsigned width>
void Aggregation<width>::emitEdge(U32 node, unsigned from, U32 filler, U32 above) {
   const Node& n = nodes_[node];
   const unsigned length = n.length;
   if (length == from) {
      emitNode(n, above);
      return;
   }
   // From the second bit up from the node, all may have the filler alone. One bit up, what the node may have will do as well.
   const bool mayKeep = length == from + 1 && !contains(n.may, filler) && contains(n.may, above);
   if (above != filler && !mayKeep) {
      emit(n.bits.cut(from), from, filler);
      above = filler;
   }
   if (above == filler) {
      emitNode(n, above);
      return;
   }
   // The node's other half beside it keeps its value by a route of its own.
   using Word = typename Bits::Word;
   const Bits beside(static_cast<Word>(n.bits.cut(length).word() ^ Word{1} << (width - length)));
   if (beside < n.bits) {
      emit(beside, length, filler);
   }
   emitNode(n, above);
   if (n.bits < beside) {
      emit(beside, length, filler);
   }
}

template <unsigned width>
void Aggregation<width>::emitNode(const Node& n, U32 above) {
   U32 value = above;
   if (!contains(n.may, value)) {
      // The value that it had, if it may: then the route is one of those that were given.
      const bool mayStay = contains(n.may, n.filler);
      if (!n.isSplit || (n.isRoute && mayStay)) {
         value = mayStay ? n.filler : *begin(n.may);
         emit(n.bits, n.length, value);
      }
   }
   if (n.length == width) {
      return;
   }
   for (const unsigned half : {0u, 1u}) {
      if (n.half[half] != 0) {
         emitEdge(n.half[half], n.length + 1u, n.filler, value);
      } else if (value != n.filler) {
         using Word = typename Bits::Word;
         emit(Bits(static_cast<Word>(n.bits.word() | Word{half} << (width - 1 - n.length))), n.length + 1u, n.filler);
      }
   }
}

template class Aggregation<32>;
template class Aggregation<128>;

}  // namespace routetrie::Impl
