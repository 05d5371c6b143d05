// free_prefixes, free_blocks: the addresses that no route has, as who plans addresses asks for them.
//
//    for (prefix4 p : routetrie::free_prefixes(t, "10.0.0.0/8"_prefix, 24)) ...      the /24s that may be given out
//    for (prefix4 p : routetrie::free_blocks(t, "10.0.0.0/8"_prefix)) ...            all that is free, in fewest prefixes
//
// A prefix is free if no route covers it or any part of it. So a default route leaves nothing free; who keeps it, or the pool itself,
// in the same table, says which routes take addresses:
//
//    free_prefixes(t, pool, 24, [&](const auto& route) { return route.prefix.len() > pool.len(); })
//
// Both are views: they ask the table as they are walked, which may change on the way, so that a prefix can be given out in the loop
// that finds it. None is found by walking all: each step asks the table twice, and passes what a route covers at once.
// Tested by tests/table/FreeSpaceTest.cpp, tests/property/TableAggregateTest.cpp.
#pragma once

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstddef>
#include <iterator>
#include <optional>
#include <type_traits>
#include <variant>

#include "routetrie/table/Kinds.h"

namespace routetrie {

// Each route takes addresses.
struct every_route {
   template <class Route>
   constexpr bool operator()(const Route&) const noexcept {
      return true;
   }
};

namespace Impl {

// What the two iterators below share: questions about the routes that count.
template <class Table, class Counts>
class SpaceTaken {
  public:
   using P = typename Table::prefix_type;
   using A = typename Table::address_type;
   using Bits = typename P::Bits;
   using Word = typename Bits::Word;

   SpaceTaken() noexcept = default;
   SpaceTaken(const Table* t, const Counts& counts) : table_(t), counts_(counts) {}

   // The shortest that covers it.
   template <class X>
   std::optional<P> above(const X& x) const {
      if constexpr (all) {
         const auto route = table_->shortest_match(x);
         return route ? std::optional<P>(prefixIn(*route)) : std::nullopt;
      } else {
         for (const auto& route : table_->covering(x)) {
            if (static_cast<bool>(counts_(route))) {
               return prefixIn(route);
            }
         }
         return std::nullopt;
      }
   }
   // The first under `within` that begins at the address or behind it.
   std::optional<Word> next(Word from, const P& within) const {
      const auto zeros = trailingZeros(from);
      const auto first = std::max<unsigned>(P::width - zeros, within.len());
      for (auto at = table_->lower_bound(P::ofValid(A(Bits(from)), first)); at != std::default_sentinel; ++at) {
         const auto route = *at;
         const P& p = prefixIn(route);
         if (!p.bits().sharesFirst(within.bits(), within.len())) {
            break;
         }
         if (all || static_cast<bool>(counts_(route))) {
            return p.bits().word();
         }
      }
      return std::nullopt;
   }

   static unsigned trailingZeros(Word word) noexcept {
      if constexpr (P::width == 32) {
         return static_cast<unsigned>(std::countr_zero(word));
      } else {
         const auto low = static_cast<Corenet::U64>(word);
         return static_cast<unsigned>(low != 0 ? std::countr_zero(low)
                                               : 64 + std::countr_zero(static_cast<Corenet::U64>(word >> 64)));
      }
   }

  private:
   static constexpr bool all = std::same_as<Counts, every_route>;

   const Table* table_ = nullptr;
   [[no_unique_address]] Carried<Counts> counts_;
};

// Prefixes of one length that are free, by the next address to look at.
template <class Table, class Counts>
class FreePrefixIterator {
  public:
   using P = typename Table::prefix_type;
   using value_type = P;
   using difference_type = std::ptrdiff_t;
   using reference = value_type;
   using pointer = Arrow<value_type>;
   using iterator_category = std::input_iterator_tag;
   using iterator_concept = std::forward_iterator_tag;

   FreePrefixIterator() noexcept = default;
   FreePrefixIterator(const Table& t, const P& within, unsigned length, const Counts& counts)
      : taken_(&t, counts), within_(within) {
      if (is_prefix(within) && within.len() <= length) {
         at_ = P::ofValid(within.address(), length);
         seek();
      }
   }

   value_type operator*() const noexcept { return at_; }
   pointer operator->() const noexcept { return {at_}; }
   FreePrefixIterator& operator++() {
      if (pass(at_)) {
         seek();
      }
      return *this;
   }
   FreePrefixIterator operator++(int) {
      FreePrefixIterator before = *this;
      ++*this;
      return before;
   }
   friend bool operator==(const FreePrefixIterator& a, const FreePrefixIterator& b) noexcept {
      return a.at_ == b.at_;
   }
   friend bool operator==(const FreePrefixIterator& a, std::default_sentinel_t) noexcept { return !is_prefix(a.at_); }

  private:
   using Word = typename P::Bits::Word;

   // To the first one behind `p`, which is not longer than what is asked for; false at the end.
   bool pass(const P& p) {
      const Word last = last_address(p).bits().word();
      if (last >= last_address(within_).bits().word()) {
         at_ = P::nullPrefix();
         return false;
      }
      at_ = P::ofValid(typename P::AddressType(typename P::Bits(static_cast<Word>(last + 1))), at_.len());
      return true;
   }
   void seek() {
      for (;;) {
         if (const auto above = taken_.above(at_)) {
            if (!pass(*above)) {
               return;
            }
         } else if (taken_.next(at_.bits().word(), at_)) {
            if (!pass(at_)) {
               return;
            }
         } else {
            return;
         }
      }
   }

   SpaceTaken<Table, Counts> taken_;
   P within_ = P::nullPrefix();
   P at_ = P::nullPrefix();  // null: the end
};

// The greatest free prefixes.
template <class Table, class Counts>
class FreeBlockIterator {
  public:
   using P = typename Table::prefix_type;
   using value_type = P;
   using difference_type = std::ptrdiff_t;
   using reference = value_type;
   using pointer = Arrow<value_type>;
   using iterator_category = std::input_iterator_tag;
   using iterator_concept = std::forward_iterator_tag;

   FreeBlockIterator() noexcept = default;
   FreeBlockIterator(const Table& t, const P& within, const Counts& counts) : taken_(&t, counts), within_(within) {
      if (is_prefix(within)) {
         seek(within.bits().word());
      }
   }

   value_type operator*() const noexcept { return at_; }
   pointer operator->() const noexcept { return {at_}; }
   FreeBlockIterator& operator++() {
      pass(at_);
      return *this;
   }
   FreeBlockIterator operator++(int) {
      FreeBlockIterator before = *this;
      ++*this;
      return before;
   }
   friend bool operator==(const FreeBlockIterator& a, const FreeBlockIterator& b) noexcept { return a.at_ == b.at_; }
   friend bool operator==(const FreeBlockIterator& a, std::default_sentinel_t) noexcept { return !is_prefix(a.at_); }

  private:
   using A = typename P::AddressType;
   using Bits = typename P::Bits;
   using Word = typename Bits::Word;

   void pass(const P& p) {
      const Word last = last_address(p).bits().word();
      if (last >= last_address(within_).bits().word()) {
         at_ = P::nullPrefix();
      } else {
         seek(static_cast<Word>(last + 1));
      }
   }
   // To the block that begins at the address, or at the first free one behind it.
   void seek(Word from) {
      while (const auto above = taken_.above(A(Bits(from)))) {
         const Word last = last_address(*above).bits().word();
         if (last >= last_address(within_).bits().word()) {
            at_ = P::nullPrefix();
            return;
         }
         from = static_cast<Word>(last + 1);
      }
      // As great as its first address allows, and short of the next route.
      unsigned length = std::max<unsigned>(within_.len(), P::width - taken_.trailingZeros(from));
      if (const auto next = taken_.next(from, within_)) {
         length = std::max<unsigned>(length, Bits(from).commonLength(Bits(*next)) + 1);
      }
      at_ = P::ofValid(A(Bits(from)), length);
   }

   SpaceTaken<Table, Counts> taken_;
   P within_ = P::nullPrefix();
   P at_ = P::nullPrefix();  // null: the end
};

// An iterator over prefixes of one family or the other.
template <class Iterator4, class Iterator6>
class FreeIteratorOfEither {
  public:
   using value_type = prefix;
   using difference_type = std::ptrdiff_t;
   using reference = value_type;
   using pointer = Arrow<value_type>;
   using iterator_category = std::input_iterator_tag;
   using iterator_concept = std::forward_iterator_tag;

   FreeIteratorOfEither() noexcept = default;
   explicit FreeIteratorOfEither(const Iterator4& at) : at_(at) {}
   explicit FreeIteratorOfEither(const Iterator6& at) : at_(at) {}

   value_type operator*() const noexcept {
      return std::visit([](const auto& at) { return prefix(*at); }, at_);
   }
   pointer operator->() const noexcept { return {**this}; }
   FreeIteratorOfEither& operator++() {
      std::visit([](auto& at) { ++at; }, at_);
      return *this;
   }
   FreeIteratorOfEither operator++(int) {
      FreeIteratorOfEither before = *this;
      ++*this;
      return before;
   }
   friend bool operator==(const FreeIteratorOfEither& a, const FreeIteratorOfEither& b) noexcept {
      return a.at_ == b.at_;
   }
   friend bool operator==(const FreeIteratorOfEither& a, std::default_sentinel_t end) noexcept {
      return std::visit([&](const auto& at) { return at == end; }, a.at_);
   }

  private:
   std::variant<Iterator4, Iterator6> at_;
};

// A test of routes of both families, for a table of one.
template <class Table, class Counts>
auto ofOneFamily(const Counts& counts) {
   if constexpr (std::same_as<Counts, every_route>) {
      return counts;
   } else {
      return [counts](const auto& route) { return counts(typename Table::value_type(ofEither(route))); };
   }
}

}  // namespace Impl

// All prefixes of that length (bits) under `within` that are free, in their order; of a shorter length than `within` there are none.
// `counts` tells which routes take addresses. Raises Corvid::RangeException if no prefix of the family is so long.
template <Impl::TableOfOneFamily Table, class Counts = every_route>
requires(std::predicate<const Counts&, const typename Table::value_type&>)
   answer_range<Impl::FreePrefixIterator<Table, Counts>> free_prefixes(const Table& t,
                                                                       const typename Table::prefix_type& within,
                                                                       unsigned length, const Counts& counts = {}) {
   using P = typename Table::prefix_type;
   if (length > P::width) {
      Impl::throwLength(length, P::width);
   }
   return {Impl::FreePrefixIterator<Table, Counts>(t, within, length, counts)};
}

// What is free under `within`, in the fewest prefixes that hold it all and nothing else, in their order.
template <Impl::TableOfOneFamily Table, class Counts = every_route>
requires(std::predicate<const Counts&, const typename Table::value_type&>)
   answer_range<Impl::FreeBlockIterator<Table, Counts>> free_blocks(const Table& t,
                                                                    const typename Table::prefix_type& within,
                                                                    const Counts& counts = {}) {
   return {Impl::FreeBlockIterator<Table, Counts>(t, within, counts)};
}

// The same of a table of both families: under a prefix of either.
template <Impl::TableOfBoth Table, class Counts = every_route>
requires(std::predicate<const Counts&, const typename Table::value_type&>) auto free_prefixes(
   const Table& t, const prefix& within, unsigned length, const Counts& counts = {}) {
   const auto test = Impl::ofOneFamily<Table>(counts);
   const auto under4 = within.af() == Corenet::AddressFamily::ipv4 ? within.v4Prefix() : prefix4::nullPrefix();
   const auto under6 = within.af() == Corenet::AddressFamily::ipv6 ? within.v6Prefix() : prefix6::nullPrefix();
   using Iterator4 = decltype(free_prefixes(t.v4(), under4, length, test).begin());
   using Iterator6 = decltype(free_prefixes(t.v6(), under6, length, test).begin());
   using Iterator = Impl::FreeIteratorOfEither<Iterator4, Iterator6>;
   return answer_range<Iterator>(is_prefix(under4) ? Iterator(free_prefixes(t.v4(), under4, length, test).begin())
                                                   : Iterator(free_prefixes(t.v6(), under6, length, test).begin()));
}
template <Impl::TableOfBoth Table, class Counts = every_route>
requires(std::predicate<const Counts&, const typename Table::value_type&>) auto free_blocks(
   const Table& t, const prefix& within, const Counts& counts = {}) {
   const auto test = Impl::ofOneFamily<Table>(counts);
   const auto under4 = within.af() == Corenet::AddressFamily::ipv4 ? within.v4Prefix() : prefix4::nullPrefix();
   const auto under6 = within.af() == Corenet::AddressFamily::ipv6 ? within.v6Prefix() : prefix6::nullPrefix();
   using Iterator4 = decltype(free_blocks(t.v4(), under4, test).begin());
   using Iterator6 = decltype(free_blocks(t.v6(), under6, test).begin());
   using Iterator = Impl::FreeIteratorOfEither<Iterator4, Iterator6>;
   return answer_range<Iterator>(is_prefix(under4) ? Iterator(free_blocks(t.v4(), under4, test).begin())
                                                   : Iterator(free_blocks(t.v6(), under6, test).begin()));
}

}  // namespace routetrie
