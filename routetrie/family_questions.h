// family_questions: what everything can be asked that holds routes of one family: tables (routetrie/family_table.h), snapshots of them
// (routetrie/snapshot.h), and the versions of a shared table (routetrie/shared_table.h). It changes nothing.
//
// What an answer points to. A route holds the prefix by value and the value by reference; the reference holds until the next
// change of the table, and of what does not change, as long as that lasts. "No route" is nullopt, end() or an empty range. The
// default route is a route like any other. The null prefix (length 255) is no prefix: a question finds none.
//
// Iterators are places. Any change of a table is allowed while one lives: `++` goes to the first route after its place in the table as
// it then is, so that a route that is there throughout is seen exactly once. What an iterator stands on may be asked for as long as
// it is in the table. `--` goes to the last route before its place, and to end() if there is none. A reverse iterator has the place behind
// the route that it shows. An iterator belongs to the object that gave it: it does not follow a move or a swap.
//
// Threads: any number may ask at once, as long as nobody changes what is asked.
// Tested by tests/table/TableTest.cpp, tests/property/TableRandomTest.cpp.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <iterator>
#include <memory>
#include <optional>
#include <ranges>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "routetrie/explanation.h"
#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/prefix.h"
#include "routetrie/route.h"
#include "routetrie/table/Tree.h"
#include "routetrie/table/Values.h"
#include "routetrie/walk_page.h"

namespace routetrie {

// The first and the last of a run of addresses, both in it.
template <any_address A>
struct address_range {
   A first;
   A last;
   friend bool operator==(const address_range&, const address_range&) noexcept = default;
   // "10.0.0.0-10.0.0.255".
   friend std::ostream& operator<<(std::ostream& out, const address_range& r) {
      return out << Corvid::String(fmt::format("{}", r));
   }
};

// Several routes as the answer to a question: a view, which ends where its iterator says so, and which asks the table as it is
// walked. It may be dropped before its iterators, but not the table.
template <class Iterator>
class answer_range : public std::ranges::view_base {
  public:
   answer_range() noexcept = default;
   answer_range(Iterator begin) noexcept : begin_(begin) {}

   Iterator begin() const noexcept { return begin_; }
   std::default_sentinel_t end() const noexcept { return {}; }
   bool empty() const noexcept { return begin_ == std::default_sentinel; }
   explicit operator bool() const noexcept { return !empty(); }
   // Requires: not empty.
   auto front() const noexcept { return *begin_; }

  private:
   Iterator begin_;
};

namespace Impl {

// "a table has no route of the null or of the empty prefix", as std::invalid_argument.
[[noreturn]] ROUTETRIE_EXPORT void throwNoPrefix();
[[noreturn]] ROUTETRIE_EXPORT void throwBulkSizes(std::size_t addresses, std::size_t answers);

// A container that is nobody else's any more, so that its values may be moved from; of a view, nobody knows.
template <class R>
inline constexpr bool givenAway =
   !std::is_lvalue_reference_v<R> && !std::ranges::borrowed_range<R> && !std::ranges::view<std::remove_cvref_t<R>>;

// What operator-> of an iterator gives whose * is a value.
template <class T>
struct Arrow {
   T value;
   const T* operator->() const noexcept { return std::addressof(value); }
};

// T, or for void something that can stand in a pair that nobody makes.
template <class T>
using ObjectOr = std::conditional_t<std::is_void_v<T>, char, T>;

// What a table of these prefixes is asked about: a prefix, or an address.
template <class X, class P>
concept AskedOf = std::same_as<X, P> || std::same_as<X, typename P::AddressType>;

struct Twins;

template <unsigned width>
using PrefixOfWidth = std::conditional_t<width == 32, prefix4, prefix6>;

}  // namespace Impl

template <unsigned width, class T>
class basic_questions {
   static_assert(width == 32 || width == 128);
   static_assert(std::is_void_v<T> || (std::is_object_v<T> && !std::is_const_v<T> && std::is_destructible_v<T>),
                 "the value of a route is an object that can be destroyed, or void");

  protected:
   using Tree = Impl::Tree<width>;
   using Values = Impl::Values<T>;
   using Bits = typename Tree::Bits;
   using Cursor = typename Tree::Cursor;

  public:
   static constexpr bool has_values = !std::is_void_v<T>;
   using prefix_type = Impl::PrefixOfWidth<width>;
   using address_type = typename prefix_type::AddressType;
   using mapped_type = T;
   using size_type = std::size_t;
   using difference_type = std::ptrdiff_t;
   using token_type = basic_walk_token<prefix_type>;
   // What the table answers with: a prefix and a reference to its value; of a set, the prefix.
   using value_type = typename std::conditional_t<has_values, std::type_identity<basic_route<prefix_type, T>>,
                                                  std::type_identity<prefix_type>>::type;

   class iterator;
   using const_iterator = iterator;
   using reverse_iterator = std::reverse_iterator<iterator>;
   class UnderPlace;
   class covered_iterator;
   class children_iterator;
   template <bool nearestFirst>
   class covering_iterator;
   template <class Iterator>
   using range = answer_range<Iterator>;

   //--- reading: all routes, in the order of addresses, then lengths ---

   size_type size() const noexcept { return tree_.size(); }
   bool empty() const noexcept { return size() == 0; }
   iterator begin() const noexcept {
      Cursor cursor;
      return tree_.first(cursor) ? iterator(this, cursor) : end();
   }
   iterator end() const noexcept { return iterator(this); }
   iterator cbegin() const noexcept { return begin(); }
   iterator cend() const noexcept { return end(); }
   reverse_iterator rbegin() const noexcept { return reverse_iterator(end()); }
   reverse_iterator rend() const noexcept { return reverse_iterator(begin()); }

   bool contains(const prefix_type& p) const noexcept { return placeOf(p) != nullptr; }
   iterator find(const prefix_type& p) const noexcept {
      const void* bytes = placeOf(p);
      return bytes != nullptr ? iteratorAt(p, bytes) : end();
   }
   // The first route at or behind the place of `p`, which need not be a route; the first behind it.
   iterator lower_bound(const prefix_type& p) const noexcept { return from(p, 0); }
   iterator upper_bound(const prefix_type& p) const noexcept { return from(p, 1); }

   //--- reading: in pages (routetrie/walk_page.h) ---

   // At most so many routes: all, from the first on, or what a token says. Raises std::invalid_argument for a page of none.
   walk_page<basic_questions> walk(size_type budget, const token_type& from = {}) const {
      return walk_page<basic_questions>(*this, budget, from);
   }
   // The first page of those that the prefix covers, itself included; walk() goes on with its token.
   walk_page<basic_questions> walk_covered(const prefix_type& p, size_type budget) const {
      return walk(budget, token_type(p));
   }

   //--- reading: what covers an address or a prefix ---

   // The longest route that covers it.
   std::optional<value_type> match(const address_type& a) const noexcept { return bestOf(a.bits(), width); }
   std::optional<value_type> match(const prefix_type& p) const noexcept {
      return is_prefix(p) ? bestOf(p.bits(), p.len()) : std::nullopt;
   }
   // The longest of those that pass: `test` is asked with each route that covers it, from the longest on, until it says yes. It
   // must not change the table.
   template <Impl::AskedOf<prefix_type> X, std::predicate<const value_type&> Test>
   std::optional<value_type> match_if(const X& x, Test&& test) const {
      const auto [bits, length] = boundsOf(x);
      for (unsigned rest = length; rest <= width;) {
         const auto best = tree_.match(bits, rest);
         if (best.value == nullptr) {
            break;
         }
         const value_type route = routeAt(bits, best.length, best.value);
         if (test(route)) {
            return route;
         }
         rest = best.length - 1;
      }
      return std::nullopt;
   }
   // The value of the longest match alone; null if there is none.
   const T* lookup(const address_type& a) const noexcept requires has_values {
      return valueOf(tree_.template lookup<Values::valueSize>(a.bits()));
   }
   // The same for a burst: answers[i] for addresses[i]. Raises std::invalid_argument if there is less room than addresses.
   void lookup_bulk(std::span<const address_type> addresses, std::span<const T*> answers) const requires has_values {
      if (answers.size() < addresses.size()) {
         Impl::throwBulkSizes(addresses.size(), answers.size());
      }
      tree_.template lookupBulk<Values::valueSize>(
         addresses.size(), [&](std::size_t i) { return addresses[i].bits(); },
         [this, to = answers.data()](std::size_t i, const void* place) { to[i] = valueOf(place); });
   }
   // The longest route that covers the prefix and is shorter than it; the prefix may be a route or not.
   std::optional<value_type> parent(const prefix_type& p) const noexcept {
      return is_prefix(p) && p.len() != 0 ? bestOf(p.bits(), p.len() - 1u) : std::nullopt;
   }
   template <Impl::AskedOf<prefix_type> X>
   std::optional<value_type> shortest_match(const X& x) const noexcept {
      const auto [bits, length] = boundsOf(x);
      if (length > width) {
         return std::nullopt;
      }
      const auto shortest = tree_.covering(bits, length).atLeast(0);
      return shortest ? std::optional(routeOf(bits, *shortest)) : std::nullopt;
   }
   // All routes that cover it, itself included: shortest first; nearest, which is longest, first.
   template <Impl::AskedOf<prefix_type> X>
   range<covering_iterator<false>> covering(const X& x) const noexcept {
      return {covering_iterator<false>(this, boundsOf(x))};
   }
   template <Impl::AskedOf<prefix_type> X>
   range<covering_iterator<true>> covering_nearest(const X& x) const noexcept {
      return {covering_iterator<true>(this, boundsOf(x))};
   }

   //--- reading: what lies under a prefix ---

   // All routes that it covers, itself included.
   range<covered_iterator> covered(const prefix_type& p) const noexcept { return {covered_iterator(this, p)}; }
   // Of the routes under it and longer than it, those with no other between.
   range<children_iterator> children(const prefix_type& p) const noexcept { return {children_iterator(this, p)}; }
   bool has_longer(const prefix_type& p) const noexcept { return is_prefix(p) && tree_.hasLonger(p.bits(), p.len()); }

   //--- reading: more ---

   // Whether a route covers it or lies under it.
   bool overlaps(const prefix_type& p) const noexcept {
      return is_prefix(p) && (tree_.match(p.bits(), p.len()).value != nullptr || tree_.hasLonger(p.bits(), p.len()));
   }
   // Whether a route of the one covers a route of the other.
   template <class U>
   bool overlaps(const basic_questions<width, U>& other) const noexcept {
      if (size() > other.size()) {
         return other.overlaps(*this);
      }
      return std::ranges::any_of(*this,
                                 [&](const value_type& route) { return other.overlaps(Impl::prefixOf(route)); });
   }
   // The addresses around this one, in one piece, that have the same longest match or, as it, none.
   address_range<address_type> same_answer(const address_type& a) const noexcept;
   // Why that route: all that cover it, which of them was taken and why the others were not, and what a lookup reads. It allocates what
   // it answers with, and so may raise std::bad_alloc, unlike other questions.
   explanation<prefix_type, T> explain(const address_type& a) const { return explainIf(a, taken()); }
   explanation<prefix_type, T> explain(const prefix_type& p) const { return explainIf(p, taken()); }
   // As match_if() with that test.
   template <Impl::AskedOf<prefix_type> X, std::predicate<const value_type&> Test>
   explanation<prefix_type, T> explain(const X& x, Test&& test) const {
      return explainIf(x, std::forward<Test>(test));
   }

   // The same routes and, where there are values, equal ones.
   friend bool operator==(const basic_questions& a,
                          const basic_questions& b) requires(!has_values || std::equality_comparable<T>) {
      return a.size() == b.size() && std::ranges::equal(a, b);
   }

   //--- for developers ---

   // Recounts from the nodes: "" if all is sound, else the first broken rule.
   std::string audit() const { return tree_.audit(); }
   // The tree as text, a node a line.
   std::string dump() const {
      std::string text;
      tree_.dump(text);
      return text;
   }

  protected:
   basic_questions() noexcept : tree_(Values::valueSize) {}
   basic_questions(Tree tree, Values values) noexcept : tree_(std::move(tree)), values_(std::move(values)) {}
   basic_questions(basic_questions&&) noexcept = default;
   basic_questions& operator=(basic_questions&&) noexcept = default;
   ~basic_questions() = default;

   struct Bounds {
      Bits bits;
      unsigned length;  // above `width`: no prefix, which nothing covers
   };
   static Bounds boundsOf(const address_type& a) noexcept { return {a.bits(), width}; }
   static Bounds boundsOf(const prefix_type& p) noexcept { return {p.bits(), p.len()}; }
   static auto taken() noexcept {
      return [](const value_type&) { return true; };
   }
   static prefix_type prefixAt(Bits bits, unsigned length) noexcept {
      return prefix_type::ofValid(address_type(bits.cut(length)), length);
   }

   value_type routeAt(Bits bits, unsigned length, const void* place) const noexcept {
      if constexpr (has_values) {
         return value_type(prefixAt(bits, length), values_.at(place));
      } else {
         return prefixAt(bits, length);
      }
   }
   // Requires: the cursor has the tree's generation.
   value_type routeHere(const Cursor& cursor) const noexcept {
      const auto p = prefix_type::ofValid(address_type(cursor.bits), cursor.length);
      if constexpr (has_values) {
         return value_type(p, values_.at(cursor.value));
      } else {
         return p;
      }
   }
   // Requires: it is there.
   value_type routeOf(Bits bits, unsigned length) const noexcept {
      const void* place = tree_.find(bits.cut(length), length);
      ROUTETRIE_ASSERT(place != nullptr, "what an iterator stands on is in the table");
      return routeAt(bits, length, place);
   }
   std::optional<value_type> bestOf(Bits bits, unsigned maxLength) const noexcept {
      const auto best = tree_.match(bits, maxLength);
      return best.value != nullptr ? std::optional(routeAt(bits, best.length, best.value)) : std::nullopt;
   }
   const T* valueOf(const void* place) const noexcept requires has_values {
      return place != nullptr ? std::addressof(values_.at(place)) : nullptr;
   }
   const void* placeOf(const prefix_type& p) const noexcept {
      return is_prefix(p) ? tree_.find(p.bits(), p.len()) : nullptr;
   }
   iterator from(const prefix_type& p, unsigned past) const noexcept {
      Cursor cursor;
      return is_prefix(p) && tree_.seek(cursor, p.bits(), p.len() + past) ? iterator(this, cursor) : end();
   }
   iterator iteratorAt(const prefix_type& p, const void* bytes) const noexcept {
      return iterator(this, tree_.at(p.bits(), p.len(), bytes));
   }
   static const Cursor& cursorOf(const iterator& at) noexcept { return at.cursor_; }
   template <class Visit>
   void forEachPlace(Visit&& visit) const {
      Cursor cursor;
      for (bool there = tree_.first(cursor); there; there = tree_.next(cursor)) {
         visit(cursor.value);
      }
   }
   template <class X, class Test>
   explanation<prefix_type, T> explainIf(const X& x, Test&& test) const;

   friend struct Impl::Twins;

   Tree tree_;
   [[no_unique_address]] Values values_;
};

namespace Impl {

// What two tables share, for who compares them.
struct Twins {
   template <unsigned width, class T>
   static const Tree<width>& treeOf(const basic_questions<width, T>& of) noexcept {
      return of.tree_;
   }
   // Whether equal bytes in the nodes of both are equal values.
   template <unsigned width, class T>
   static bool shareValues(const basic_questions<width, T>& a, const basic_questions<width, T>& b) noexcept {
      return a.values_.sharesWith(b.values_);
   }
   // The route of a place that a tree told; null: of one that it has to look for.
   template <unsigned width, class T>
   static auto routeOf(const basic_questions<width, T>& of, typename Tree<width>::Bits bits, unsigned length,
                       const void* place) noexcept {
      return place != nullptr ? of.routeAt(bits, length, place) : of.routeOf(bits, length);
   }
   template <unsigned width, class T>
   static const T& valueAt(const basic_questions<width, T>& of, const void* place) noexcept {
      return of.values_.at(place);
   }
};

}  // namespace Impl

//--- iterators ---

template <unsigned width, class T>
class basic_questions<width, T>::iterator {
  public:
   using value_type = basic_questions::value_type;
   using difference_type = std::ptrdiff_t;
   using reference = value_type;
   using pointer = Impl::Arrow<value_type>;
   using iterator_category = std::bidirectional_iterator_tag;
   using iterator_concept = std::bidirectional_iterator_tag;

   iterator() noexcept = default;

   value_type operator*() const noexcept {
      return cursor_.generation == table_->tree_.generation() ? table_->routeHere(cursor_)
                                                              : table_->routeOf(cursor_.bits, cursor_.length);
   }
   pointer operator->() const noexcept { return {**this}; }
   iterator& operator++() noexcept {
      atEnd_ = !table_->tree_.next(cursor_);
      return *this;
   }
   iterator operator++(int) noexcept {
      iterator before = *this;
      ++*this;
      return before;
   }
   iterator& operator--() noexcept {
      const bool there = atEnd_ ? table_->tree_.last(cursor_) : table_->tree_.previous(cursor_);
      atEnd_ = !there;
      return *this;
   }
   iterator operator--(int) noexcept {
      iterator before = *this;
      --*this;
      return before;
   }
   friend bool operator==(const iterator& a, const iterator& b) noexcept {
      return a.atEnd_ == b.atEnd_ &&
             (a.atEnd_ || (a.cursor_.bits == b.cursor_.bits && a.cursor_.length == b.cursor_.length));
   }
   friend bool operator==(const iterator& a, std::default_sentinel_t) noexcept { return a.atEnd_; }

  private:
   friend basic_questions;
   explicit iterator(const basic_questions* table) noexcept : table_(table) {}
   iterator(const basic_questions* table, const Cursor& cursor) noexcept
      : table_(table), cursor_(cursor), atEnd_(false) {}

   const basic_questions* table_ = nullptr;
   Cursor cursor_{};
   bool atEnd_ = true;
};

// A place among the routes under a prefix.
template <unsigned width, class T>
class basic_questions<width, T>::UnderPlace {
  public:
   using value_type = basic_questions::value_type;
   using difference_type = std::ptrdiff_t;
   using reference = value_type;
   using pointer = Impl::Arrow<value_type>;
   using iterator_category = std::bidirectional_iterator_tag;
   using iterator_concept = std::bidirectional_iterator_tag;

   value_type operator*() const noexcept { return *at_; }
   pointer operator->() const noexcept { return {**this}; }
   friend bool operator==(const UnderPlace& a, const UnderPlace& b) noexcept {
      const bool atEnd = a.isPast();
      return atEnd == b.isPast() && (atEnd || a.at_ == b.at_);
   }
   friend bool operator==(const UnderPlace& a, std::default_sentinel_t) noexcept { return a.isPast(); }

  protected:
   UnderPlace() noexcept = default;
   UnderPlace(const iterator& at, const prefix_type& under) noexcept
      : at_(at), under_(is_prefix(under) ? under : prefix_type()) {}

   const Tree& tree() const noexcept { return at_.table_->tree_; }
   bool isPast() const noexcept { return at_.atEnd_ || !at_.cursor_.bits.sharesFirst(under_.bits(), under_.len()); }
   // To the first route behind all that lies under a prefix.
   void goPast(const prefix_type& p) noexcept {
      at_.atEnd_ = !tree().seek(at_.cursor_, last_address(p).bits(), width + 1);
   }
   // To the route before; from the end, to the last one under the prefix.
   void goBack() noexcept {
      at_.atEnd_ = !(isPast() ? tree().seekBefore(at_.cursor_, last_address(under_).bits(), width + 1)
                              : tree().previous(at_.cursor_));
   }

   iterator at_;
   prefix_type under_;
};

template <unsigned width, class T>
class basic_questions<width, T>::covered_iterator : public UnderPlace {
  public:
   covered_iterator() noexcept = default;

   covered_iterator& operator++() noexcept {
      ++this->at_;
      return *this;
   }
   covered_iterator operator++(int) noexcept {
      covered_iterator before = *this;
      ++*this;
      return before;
   }
   covered_iterator& operator--() noexcept {
      this->goBack();
      return *this;
   }
   covered_iterator operator--(int) noexcept {
      covered_iterator before = *this;
      --*this;
      return before;
   }

  private:
   friend basic_questions;
   covered_iterator(const basic_questions* table, const prefix_type& under) noexcept
      : UnderPlace(table->lower_bound(under), under) {}
};

template <unsigned width, class T>
class basic_questions<width, T>::children_iterator : public UnderPlace {
  public:
   children_iterator() noexcept = default;

   // To what comes behind all that lies under this child.
   children_iterator& operator++() noexcept {
      const Cursor& here = this->at_.cursor_;
      this->goPast(prefixAt(here.bits, here.length));
      return *this;
   }
   children_iterator operator++(int) noexcept {
      children_iterator before = *this;
      ++*this;
      return before;
   }
   // To the outermost route under the prefix that covers what comes before.
   children_iterator& operator--() noexcept {
      this->goBack();
      Cursor& here = this->at_.cursor_;
      const unsigned from = this->under_.len() + 1u;
      if (!this->at_.atEnd_ && here.length >= from) {
         const unsigned outermost = *this->tree().covering(here.bits, here.length).atLeast(from);
         const Bits bits = here.bits.cut(outermost);
         here = this->tree().at(bits, outermost, this->tree().find(bits, outermost));
      }
      return *this;
   }
   children_iterator operator--(int) noexcept {
      children_iterator before = *this;
      --*this;
      return before;
   }

  private:
   friend basic_questions;
   children_iterator(const basic_questions* table, const prefix_type& under) noexcept
      : UnderPlace(table->upper_bound(under), under) {}
};

template <unsigned width, class T>
template <bool nearestFirst>
class basic_questions<width, T>::covering_iterator {
  public:
   using value_type = basic_questions::value_type;
   using difference_type = std::ptrdiff_t;
   using reference = value_type;
   using pointer = Impl::Arrow<value_type>;
   using iterator_category = std::bidirectional_iterator_tag;
   using iterator_concept = std::bidirectional_iterator_tag;

   covering_iterator() noexcept = default;

   value_type operator*() const noexcept { return table_->routeOf(bits_, *at_); }
   pointer operator->() const noexcept { return {**this}; }
   covering_iterator& operator++() noexcept { return step(nearestFirst); }
   covering_iterator operator++(int) noexcept {
      covering_iterator before = *this;
      ++*this;
      return before;
   }
   covering_iterator& operator--() noexcept { return step(!nearestFirst); }
   covering_iterator operator--(int) noexcept {
      covering_iterator before = *this;
      --*this;
      return before;
   }
   friend bool operator==(const covering_iterator& a, const covering_iterator& b) noexcept { return a.at_ == b.at_; }
   friend bool operator==(const covering_iterator& a, std::default_sentinel_t) noexcept { return !a.at_; }

  private:
   friend basic_questions;
   covering_iterator(const basic_questions* table, const Bounds& of) noexcept
      : table_(table), bits_(of.bits), length_(of.length) {
      step(nearestFirst);
   }
   // To the next shorter route or the next longer one; from the end, to the first from that side.
   covering_iterator& step(bool toShorter) noexcept {
      if (length_ > width) {
         return *this;
      }
      if (!lengths_ || generation_ != table_->tree_.generation()) {
         lengths_ = table_->tree_.covering(bits_, length_);
         generation_ = table_->tree_.generation();
      }
      if (toShorter) {
         at_ = !at_ ? lengths_->atMost(length_) : *at_ == 0 ? std::nullopt : lengths_->atMost(*at_ - 1);
      } else {
         at_ = !at_ ? lengths_->atLeast(0) : lengths_->atLeast(*at_ + 1);
      }
      return *this;
   }

   const basic_questions* table_ = nullptr;
   Bits bits_;
   unsigned length_ = width + 1;  // bits of what is to be covered
   std::optional<unsigned> at_;   // the length of the route that it stands on; none at the end
   std::optional<Impl::Lengths<width>> lengths_;
   std::uint64_t generation_ = 0;  // of the table when `lengths_` was asked
};

//--- the longer questions ---

template <unsigned width, class T>
address_range<typename basic_questions<width, T>::address_type> basic_questions<width, T>::same_answer(
   const address_type& a) const noexcept {
   using Word = typename Bits::Word;
   const Bits bits = a.bits();
   const auto best = tree_.match(bits, width);
   const prefix_type within = best.value != nullptr ? prefixAt(bits, best.length) : prefix_type();
   Word first = within.bits().word();
   Word last = last_address(within).bits().word();
   Cursor near;
   // What comes before: the route before, or the outermost one above it that does not cover the address, ends last.
   if (tree_.seekBefore(near, bits, width + 1) && near.bits.word() >= first &&
       !(best.value != nullptr && near.length == best.length && near.bits == within.bits())) {
      const unsigned common = near.bits.commonLength(bits);
      if (const auto outermost = tree_.covering(near.bits, near.length).atLeast(common + 1)) {
         first = static_cast<Word>(last_address(prefixAt(near.bits, *outermost)).bits().word() + 1);
      }
   }
   if (tree_.seek(near, bits, width + 1) && near.bits.word() <= last) {
      last = static_cast<Word>(near.bits.word() - 1);
   }
   return {address_type(Bits(first)), address_type(Bits(last))};
}

template <unsigned width, class T>
template <class X, class Test>
explanation<typename basic_questions<width, T>::prefix_type, T> basic_questions<width, T>::explainIf(
   const X& x, Test&& test) const {
   explanation<prefix_type, T> result;
   const auto [bits, length] = boundsOf(x);
   if (length > width) {
      result.asked = prefix_type::nullPrefix();
      return result;
   }
   result.asked = prefixAt(bits, length);
   bool isTaken = false;
   for (const value_type& route : covering_nearest(x)) {
      const verdict why = isTaken ? verdict::shorter : test(route) ? verdict::taken : verdict::refused;
      isTaken = isTaken || why == verdict::taken;
      result.candidates.push_back({route, why});
   }
   std::ranges::reverse(result.candidates);
   result.reads = tree_.readsOf(bits, length);
   return result;
}

}  // namespace routetrie

template <routetrie::any_address A>
struct fmt::formatter<routetrie::address_range<A>> {
   constexpr auto parse(fmt::format_parse_context& context) { return context.begin(); }
   auto format(const routetrie::address_range<A>& r, fmt::format_context& context) const {
      return fmt::format_to(context.out(), "{}-{}", r.first, r.last);
   }
};

template <routetrie::any_address A>
struct std::hash<routetrie::address_range<A>> {
   std::size_t operator()(const routetrie::address_range<A>& r) const noexcept {
      return std::hash<A>()(r.first) * 31 + std::hash<A>()(r.last);
   }
};

template <class Iterator>
inline constexpr bool std::ranges::enable_borrowed_range<routetrie::answer_range<Iterator>> = true;
