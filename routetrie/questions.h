// questions: what everything can be asked that holds routes of both families: tables (routetrie/table.h), snapshots of them
// (routetrie/snapshot.h), and the versions of a shared table (routetrie/shared_table.h). It is asked with addresses and prefixes of
// either family; those of one family convert. What has no family, an empty address or prefix, is as the null prefix is: a question
// finds none. What answers refer to and how long that holds is told in routetrie/family_questions.h.
// Tested by tests/table/BothFamiliesTest.cpp, tests/property/TableRandomTest.cpp.
#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <iterator>
#include <optional>
#include <ranges>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "routetrie/explanation.h"
#include "routetrie/family_questions.h"
#include "routetrie/prefix.h"
#include "routetrie/route.h"
#include "routetrie/walk_page.h"

namespace routetrie {

namespace Impl {

// A route of one family as one of either.
template <class T>
auto ofEither(const basic_route<prefix4, T>& r) noexcept {
   return basic_route<prefix, T>(r.prefix, r.value);
}
template <class T>
auto ofEither(const basic_route<prefix6, T>& r) noexcept {
   return basic_route<prefix, T>(r.prefix, r.value);
}
template <prefix_of_one_family P>
prefix ofEither(const P& p) noexcept {
   return p;
}

// An iterator of a range of answers, of one family or the other.
template <class Iterator4, class Iterator6, class Route>
class EitherIterator {
  public:
   using value_type = Route;
   using difference_type = std::ptrdiff_t;
   using reference = value_type;
   using pointer = Arrow<value_type>;
   using iterator_category = std::bidirectional_iterator_tag;
   using iterator_concept = std::bidirectional_iterator_tag;

   EitherIterator() noexcept = default;
   explicit EitherIterator(const Iterator4& at) noexcept : at_(at) {}
   explicit EitherIterator(const Iterator6& at) noexcept : at_(at) {}

   value_type operator*() const noexcept {
      return std::visit([](const auto& at) { return value_type(ofEither(*at)); }, at_);
   }
   pointer operator->() const noexcept { return {**this}; }
   EitherIterator& operator++() noexcept {
      std::visit([](auto& at) { ++at; }, at_);
      return *this;
   }
   EitherIterator operator++(int) noexcept {
      EitherIterator before = *this;
      ++*this;
      return before;
   }
   EitherIterator& operator--() noexcept {
      std::visit([](auto& at) { --at; }, at_);
      return *this;
   }
   EitherIterator operator--(int) noexcept {
      EitherIterator before = *this;
      --*this;
      return before;
   }
   friend bool operator==(const EitherIterator& a, const EitherIterator& b) noexcept { return a.at_ == b.at_; }
   friend bool operator==(const EitherIterator& a, std::default_sentinel_t end) noexcept {
      return std::visit([&](const auto& at) { return at == end; }, a.at_);
   }

  private:
   std::variant<Iterator4, Iterator6> at_;
};

}  // namespace Impl

// `Four` and `Six` are asked about a family each.
template <class Four, class Six>
class both_questions {
   using T = typename Four::mapped_type;

  public:
   static constexpr bool has_values = Four::has_values;
   using prefix_type = prefix;
   using address_type = address;
   using mapped_type = T;
   using size_type = std::size_t;
   using difference_type = std::ptrdiff_t;
   using value_type =
      typename std::conditional_t<has_values, std::type_identity<route<T>>, std::type_identity<prefix>>::type;

   class iterator;
   using const_iterator = iterator;
   using reverse_iterator = std::reverse_iterator<iterator>;
   template <class Iterator4, class Iterator6>
   using range = answer_range<Impl::EitherIterator<Iterator4, Iterator6, value_type>>;
   using covered_range = range<typename Four::covered_iterator, typename Six::covered_iterator>;
   using children_range = range<typename Four::children_iterator, typename Six::children_iterator>;
   template <bool nearestFirst>
   using covering_range = range<typename Four::template covering_iterator<nearestFirst>,
                                typename Six::template covering_iterator<nearestFirst>>;

   // The routes of one family.
   const Four& v4() const noexcept { return v4_; }
   const Six& v6() const noexcept { return v6_; }

   //--- reading: all routes, IPv4 before IPv6, in the order of addresses, then lengths ---

   size_type size() const noexcept { return v4_.size() + v6_.size(); }
   bool empty() const noexcept { return v4_.empty() && v6_.empty(); }
   iterator begin() const noexcept { return iterator(this, v4_.begin()); }
   iterator end() const noexcept { return iterator(this, v6_.end()); }
   iterator cbegin() const noexcept { return begin(); }
   iterator cend() const noexcept { return end(); }
   reverse_iterator rbegin() const noexcept { return reverse_iterator(end()); }
   reverse_iterator rend() const noexcept { return reverse_iterator(begin()); }

   bool contains(const prefix& p) const noexcept {
      return inFamily(p, false, [](const auto& t, const auto& of) { return t.contains(of); });
   }
   iterator find(const prefix& p) const noexcept {
      return inFamily(p, end(), [this](const auto& t, const auto& of) {
         const auto at = t.find(of);
         return at == t.end() ? end() : iterator(this, at);
      });
   }
   iterator lower_bound(const prefix& p) const noexcept {
      return inFamily(p, end(), [this](const auto& t, const auto& of) { return iterator(this, t.lower_bound(of)); });
   }
   iterator upper_bound(const prefix& p) const noexcept {
      return inFamily(p, end(), [this](const auto& t, const auto& of) { return iterator(this, t.upper_bound(of)); });
   }

   //--- reading: in pages ---

   walk_page<both_questions> walk(size_type budget, const walk_token& from = {}) const {
      return walk_page<both_questions>(*this, budget, from);
   }
   walk_page<both_questions> walk_covered(const prefix& p, size_type budget) const {
      return walk(budget, walk_token(p));
   }

   //--- reading: what covers an address or a prefix ---

   std::optional<value_type> match(const address& a) const noexcept { return best(a); }
   std::optional<value_type> match(const prefix& p) const noexcept { return best(p); }
   template <class X, std::predicate<const value_type&> Test>
   requires(std::convertible_to<X, address> ||
            std::convertible_to<X, prefix>) std::optional<value_type> match_if(const X& x, Test&& test)
   const {
      return inFamily(either(x), std::optional<value_type>(), [&](const auto& t, const auto& of) {
         return optionalOf(t.match_if(of, [&](const auto& r) { return test(value_type(Impl::ofEither(r))); }));
      });
   }
   const T* lookup(const address& a) const noexcept requires has_values {
      switch (a.af()) {
         case Corenet::AddressFamily::ipv4: return v4_.lookup(a.v4Addr());
         case Corenet::AddressFamily::ipv6: return v6_.lookup(a.v6Addr());
         default: return nullptr;
      }
   }
   void lookup_bulk(std::span<const address> addresses, std::span<const T*> answers) const requires has_values {
      if (answers.size() < addresses.size()) {
         Impl::throwBulkSizes(addresses.size(), answers.size());
      }
      constexpr std::size_t burst = 64;
      for (std::size_t begin = 0; begin < addresses.size(); begin += burst) {
         const std::size_t size = std::min(burst, addresses.size() - begin);
         lookupBurst(addresses.subspan(begin, size), answers.subspan(begin, size));
      }
   }
   std::optional<value_type> parent(const prefix& p) const noexcept {
      return inFamily(p, std::optional<value_type>(),
                      [](const auto& t, const auto& of) { return optionalOf(t.parent(of)); });
   }
   template <class X>
   requires(std::convertible_to<X, address> ||
            std::convertible_to<X, prefix>) std::optional<value_type> shortest_match(const X& x)
   const noexcept {
      return inFamily(either(x), std::optional<value_type>(),
                      [](const auto& t, const auto& of) { return optionalOf(t.shortest_match(of)); });
   }
   template <class X>
   requires(std::convertible_to<X, address> ||
            std::convertible_to<X, prefix>) covering_range<false> covering(const X& x)
   const noexcept {
      return rangeOf<covering_range<false>>(either(x), [](const auto& t, const auto& of) { return t.covering(of); });
   }
   template <class X>
   requires(std::convertible_to<X, address> ||
            std::convertible_to<X, prefix>) covering_range<true> covering_nearest(const X& x)
   const noexcept {
      return rangeOf<covering_range<true>>(either(x),
                                           [](const auto& t, const auto& of) { return t.covering_nearest(of); });
   }

   //--- reading: what lies under a prefix ---

   covered_range covered(const prefix& p) const noexcept {
      return rangeOf<covered_range>(p, [](const auto& t, const auto& of) { return t.covered(of); });
   }
   children_range children(const prefix& p) const noexcept {
      return rangeOf<children_range>(p, [](const auto& t, const auto& of) { return t.children(of); });
   }
   bool has_longer(const prefix& p) const noexcept {
      return inFamily(p, false, [](const auto& t, const auto& of) { return t.has_longer(of); });
   }

   //--- reading: more ---

   bool overlaps(const prefix& p) const noexcept {
      return inFamily(p, false, [](const auto& t, const auto& of) { return t.overlaps(of); });
   }
   template <class OtherFour, class OtherSix>
   bool overlaps(const both_questions<OtherFour, OtherSix>& other) const noexcept {
      return v4_.overlaps(other.v4()) || v6_.overlaps(other.v6());
   }
   // None of an address without a family.
   std::optional<address_range<address>> same_answer(const address& a) const noexcept {
      return inFamily(a, std::optional<address_range<address>>(), [](const auto& t, const auto& of) {
         const auto same = t.same_answer(of);
         return std::optional(address_range<address>{same.first, same.last});
      });
   }
   template <class X>
   requires(std::convertible_to<X, address> ||
            std::convertible_to<X, prefix>) explanation<prefix, T> explain(const X& x)
   const {
      return explain(x, [](const value_type&) { return true; });
   }
   template <class X, std::predicate<const value_type&> Test>
   requires(std::convertible_to<X, address> ||
            std::convertible_to<X, prefix>) explanation<prefix, T> explain(const X& x, Test&& test)
   const {
      return inFamily(either(x), explanation<prefix, T>(), [&](const auto& t, const auto& of) {
         const auto one = t.explain(of, [&](const auto& r) { return test(value_type(Impl::ofEither(r))); });
         explanation<prefix, T> result;
         result.asked = one.asked;
         for (const auto& c : one.candidates) {
            result.candidates.push_back({value_type(Impl::ofEither(c.route)), c.why});
         }
         result.reads = one.reads;
         return result;
      });
   }

   //--- for developers ---

   // "" if all is sound, else the first broken rule; the trees as text.
   std::string audit() const {
      std::string fault = v4_.audit();
      return fault.empty() ? v6_.audit() : fault;
   }
   std::string dump() const { return v4_.dump() + v6_.dump(); }

  protected:
   both_questions() = default;
   both_questions(Four v4, Six v6) noexcept : v4_(std::move(v4)), v6_(std::move(v6)) {}
   both_questions(const both_questions&) = default;
   both_questions(both_questions&&) noexcept = default;
   both_questions& operator=(const both_questions&) = default;
   both_questions& operator=(both_questions&&) noexcept = default;
   ~both_questions() = default;

   template <class Iterator>
   iterator iteratorAt(const Iterator& at) const noexcept {
      return iterator(this, at);
   }

   Four v4_;
   Six v6_;

  private:
   template <class X>
   static auto either(const X& x) noexcept {
      if constexpr (std::convertible_to<X, address>) {
         return address(x);
      } else {
         return prefix(x);
      }
   }
   template <class Optional>
   static std::optional<value_type> optionalOf(const Optional& found) noexcept {
      return found ? std::optional(value_type(Impl::ofEither(*found))) : std::nullopt;
   }
   // `ask` with the table of the family and the address or prefix in that family; `none` if it has none.
   template <class Result, class Ask>
   Result inFamily(const address& a, Result none, Ask&& ask) const {
      switch (a.af()) {
         case Corenet::AddressFamily::ipv4: return ask(v4_, a.v4Addr());
         case Corenet::AddressFamily::ipv6: return ask(v6_, a.v6Addr());
         default: return none;
      }
   }
   template <class Result, class Ask>
   Result inFamily(const prefix& p, Result none, Ask&& ask) const {
      switch (p.af()) {
         case Corenet::AddressFamily::ipv4: return ask(v4_, p.v4Prefix());
         case Corenet::AddressFamily::ipv6: return ask(v6_, p.v6Prefix());
         default: return none;
      }
   }
   template <class X>
   std::optional<value_type> best(const X& x) const noexcept {
      return inFamily(x, std::optional<value_type>(),
                      [](const auto& t, const auto& of) { return optionalOf(t.match(of)); });
   }
   template <class Range, class X, class Ask>
   Range rangeOf(const X& x, Ask&& ask) const {
      using Iterator = decltype(Range().begin());
      return inFamily(x, Range(), [&](const auto& t, const auto& of) { return Range(Iterator(ask(t, of).begin())); });
   }
   // Each family's addresses by themselves, side by side. Requires: no more than 64.
   void lookupBurst(std::span<const address> addresses, std::span<const T*> answers) const requires has_values {
      const auto ask = [&]<class Address, class Table>(const Table& t, auto&& take) {
         std::array<Address, 64> queries;
         std::array<std::size_t, 64> places;
         std::array<const T*, 64> found;
         std::size_t size = 0;
         for (std::size_t i = 0; i < addresses.size(); ++i) {
            if (addresses[i].af() == Address::family) {
               queries[size] = take(addresses[i]);
               places[size++] = i;
            }
         }
         t.lookup_bulk(std::span(queries).first(size), std::span(found).first(size));
         for (std::size_t i = 0; i < size; ++i) {
            answers[places[i]] = found[i];
         }
      };
      std::ranges::fill(answers.first(addresses.size()), nullptr);
      ask.template operator()<address4>(v4_, [](const address& a) { return a.v4Addr(); });
      ask.template operator()<address6>(v6_, [](const address& a) { return a.v6Addr(); });
   }
};

// The same routes and, where there are values, equal ones.
template <class Four, class Six, class OtherFour, class OtherSix>
requires requires(const Four& a, const OtherFour& b) { a == b; }
bool operator==(const both_questions<Four, Six>& a, const both_questions<OtherFour, OtherSix>& b) {
   return a.v4() == b.v4() && a.v6() == b.v6();
}

// A place among the routes of both families: in IPv4 up to its last route, then in IPv6.
template <class Four, class Six>
class both_questions<Four, Six>::iterator {
  public:
   using value_type = both_questions::value_type;
   using difference_type = std::ptrdiff_t;
   using reference = value_type;
   using pointer = Impl::Arrow<value_type>;
   using iterator_category = std::bidirectional_iterator_tag;
   using iterator_concept = std::bidirectional_iterator_tag;

   iterator() noexcept = default;

   value_type operator*() const noexcept {
      return std::visit([](const auto& at) { return value_type(Impl::ofEither(*at)); }, at_);
   }
   pointer operator->() const noexcept { return {**this}; }
   iterator& operator++() noexcept {
      std::visit([](auto& at) { ++at; }, at_);
      leaveIpv4();
      return *this;
   }
   iterator operator++(int) noexcept {
      iterator before = *this;
      ++*this;
      return before;
   }
   iterator& operator--() noexcept {
      // Only its way back tells whether anything of IPv6 lies before it: what it stands on may have gone.
      if (auto* six = std::get_if<At6>(&at_); six != nullptr) {
         if (--*six != std::default_sentinel) {
            return *this;
         }
         at_ = of_->v4_.end();
      }
      if (--std::get<At4>(at_) == std::default_sentinel) {
         at_ = of_->v6_.end();
      }
      return *this;
   }
   iterator operator--(int) noexcept {
      iterator before = *this;
      --*this;
      return before;
   }
   friend bool operator==(const iterator& a, const iterator& b) noexcept { return a.at_ == b.at_; }
   friend bool operator==(const iterator& a, std::default_sentinel_t end) noexcept {
      const auto* six = std::get_if<At6>(&a.at_);
      return six != nullptr && *six == end;
   }

  private:
   friend both_questions;
   using At4 = typename Four::iterator;
   using At6 = typename Six::iterator;

   iterator(const both_questions* of, const At4& at) noexcept : of_(of), at_(at) { leaveIpv4(); }
   iterator(const both_questions* of, const At6& at) noexcept : of_(of), at_(at) {}
   void leaveIpv4() noexcept {
      if (const auto* four = std::get_if<At4>(&at_); four != nullptr && *four == std::default_sentinel) {
         at_ = of_->v6_.begin();
      }
   }

   const both_questions* of_ = nullptr;
   std::variant<At4, At6> at_;
};

}  // namespace routetrie
