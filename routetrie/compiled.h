// compiled: the routes of a table for whoever forwards packets: lookup alone, at about half the time and less memory. Made in one
// pass, never changed, thrown away and made anew.
//
//    routetrie::table<Hop> routes;
//    const auto fast = routetrie::compile(routes);             compiled_table<Hop>; of a table4, a compiled_table4<Hop>
//    const Hop* hop = fast.lookup(address);                    null: no route
//    fast.lookup_bulk(burst, hops);                            hops[i] for burst[i]; 32 and more at a time pay best
//
// It keeps copies of the values and so outlives the table. An answer points into it and holds as long as it does, a move of it
// included. Values of up to 4 bytes that copy as bytes lie where a lookup ends; others are read through one more line of memory,
// each that differs from the others kept once, as far as std::hash or == tells.
//
// Of a set, a table without values, what is made answers whether any route covers an address.
//
// Lookups run on the best instructions of the machine; use() picks others. Threads: any number may ask at once. To let others ask
// while routes change, make a new one and swap a pointer to it: examples/forwarding.cpp.
// Tested by tests/table/CompiledTest.cpp, tests/property/CompiledTest.cpp.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <ranges>
#include <span>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "routetrie/table.h"
#include "routetrie/table/Compiled.h"
#include "routetrie/table/CompiledValues.h"

namespace routetrie {

template <unsigned width, class T>
class basic_compiled_table {
   static_assert(std::is_void_v<T> || std::is_copy_constructible_v<T>, "a compiled table keeps copies of the values");
   struct NoValues {
      static constexpr bool areWords = false;
      std::size_t bytes() const noexcept { return 0; }
   };
   using Compiled = Impl::Compiled<width>;
   using Values = typename std::conditional_t<std::is_void_v<T>, std::type_identity<NoValues>,
                                              std::type_identity<Impl::CompiledValues<T>>>::type;

  public:
   static constexpr bool has_values = !std::is_void_v<T>;
   using prefix_type = Impl::PrefixOfWidth<width>;
   using address_type = typename prefix_type::AddressType;
   using mapped_type = T;

   basic_compiled_table() noexcept = default;  // no route
   // Of a table, or of any range of routes in order, by address, then length, each prefix once. Raises std::invalid_argument if
   // they come otherwise.
   template <std::ranges::input_range R>
   requires(!std::same_as<std::remove_cvref_t<R>, basic_compiled_table>) explicit basic_compiled_table(R&& routes) {
      std::size_t expected = 0;
      if constexpr (requires { routes.size(); }) {
         expected = routes.size();
      }
      Impl::BorderSweep<width> sweep(expected);
      const auto add = [&](const prefix_type& p, Impl::U32 word) {
         if (!is_prefix(p)) {
            Impl::throwNoPrefix();
         }
         sweep.add(p.bits(), p.len(), word);
      };
      if constexpr (has_values) {
         typename Values::Taking taking(values_);
         for (auto&& [where, what] : routes) {
            add(where, taking.word(what));
         }
      } else {
         for (const prefix_type& p : routes) {
            add(p, 0);
         }
      }
      const auto borders = sweep.finish();
      size_ = borders.routes;
      compiled_ = Compiled(borders);
   }
   basic_compiled_table(basic_compiled_table&& other) noexcept { swap(other); }
   basic_compiled_table& operator=(basic_compiled_table&& other) noexcept {
      basic_compiled_table taken(std::move(other));
      swap(taken);
      return *this;
   }
   ~basic_compiled_table() = default;
   void swap(basic_compiled_table& other) noexcept {
      compiled_.swap(other.compiled_);
      std::swap(values_, other.values_);
      std::swap(size_, other.size_);
      std::swap(with_, other.with_);
   }
   friend void swap(basic_compiled_table& a, basic_compiled_table& b) noexcept { a.swap(b); }

   // Of the routes that it was made from.
   std::size_t size() const noexcept { return size_; }
   bool empty() const noexcept { return size_ == 0; }

   // The value of the longest match; null: no route.
   const T* lookup(const address_type& a) const noexcept requires has_values {
      return values_.at(compiled_.lookup(a.bits(), with_));
   }
   // answers[i] for addresses[i]. Raises std::invalid_argument if there is less room than addresses.
   void lookup_bulk(std::span<const address_type> addresses, std::span<const T*> answers) const requires has_values {
      bulk(addresses, answers, [this](const Impl::U32* place) { return values_.at(place); });
   }
   // Whether any route covers the address.
   bool covers(const address_type& a) const noexcept { return compiled_.lookup(a.bits(), with_) != nullptr; }
   void covers_bulk(std::span<const address_type> addresses, std::span<bool> answers) const {
      bulk(addresses, answers, [](const Impl::U32* place) { return place != nullptr; });
   }

   // The instructions for lookups; answers are the same with all. Raises std::invalid_argument if the machine lacks them.
   void use(instruction_set with) {
      if (!Impl::hasInstructions(with)) {
         Impl::throwNoInstructions();
      }
      with_ = with;
   }
   instruction_set in_use() const noexcept { return with_; }

   // Bytes, by what they are for; the sum is what the allocator handed out, but for what values hold themselves.
   table_memory memory() const noexcept {
      table_memory held = compiled_.memory();
      held.values += values_.bytes();
      return held;
   }
   // For developers: "bitmap", "tree", "sorted" or "empty"; see routetrie/table/Compiled.h.
   const char* shape() const noexcept { return compiled_.shape(); }

  private:
   template <class Answer, class Map>
   void bulk(std::span<const address_type> addresses, std::span<Answer> answers, Map&& map) const {
      if (answers.size() < addresses.size()) {
         Impl::throwBulkSizes(addresses.size(), answers.size());
      }
      // Where an answer lies is the answer, if values are words.
      if constexpr (std::same_as<Answer, const T*> && Values::areWords) {
         compiled_.lookupBulk(addresses.data(), answers.data(), addresses.size(), with_);
         return;
      }
      std::array<const Impl::U32*, 64> found;
      for (std::size_t done = 0; done < addresses.size(); done += found.size()) {
         const std::size_t piece = std::min(found.size(), addresses.size() - done);
         compiled_.lookupBulk(addresses.data() + done, found.data(), piece, with_);
         for (std::size_t i = 0; i < piece; ++i) {
            answers[done + i] = map(found[i]);
         }
      }
   }

   Compiled compiled_;
   [[no_unique_address]] Values values_;
   std::size_t size_ = 0;
   instruction_set with_ = Impl::bestInstructions();
};

template <class T>
using compiled_table4 = basic_compiled_table<32, T>;
template <class T>
using compiled_table6 = basic_compiled_table<128, T>;

// Of both families.
template <class T>
class compiled_table {
  public:
   static constexpr bool has_values = !std::is_void_v<T>;
   using prefix_type = prefix;
   using address_type = address;
   using mapped_type = T;

   compiled_table() noexcept = default;
   compiled_table(compiled_table4<T> v4, compiled_table6<T> v6) noexcept : v4_(std::move(v4)), v6_(std::move(v6)) {}
   void swap(compiled_table& other) noexcept {
      v4_.swap(other.v4_);
      v6_.swap(other.v6_);
   }
   friend void swap(compiled_table& a, compiled_table& b) noexcept { a.swap(b); }

   const compiled_table4<T>& v4() const noexcept { return v4_; }
   const compiled_table6<T>& v6() const noexcept { return v6_; }

   std::size_t size() const noexcept { return v4_.size() + v6_.size(); }
   bool empty() const noexcept { return size() == 0; }

   // Of an address without a family: null.
   const T* lookup(const address& a) const noexcept requires has_values {
      return inFamily(a, static_cast<const T*>(nullptr), [](const auto& t, const auto& of) { return t.lookup(of); });
   }
   void lookup_bulk(std::span<const address> addresses, std::span<const T*> answers) const requires has_values {
      bulk(addresses, answers, static_cast<const T*>(nullptr),
           [](const auto& t, auto from, auto to) { t.lookup_bulk(from, to); });
   }
   bool covers(const address& a) const noexcept {
      return inFamily(a, false, [](const auto& t, const auto& of) { return t.covers(of); });
   }
   void covers_bulk(std::span<const address> addresses, std::span<bool> answers) const {
      bulk(addresses, answers, false, [](const auto& t, auto from, auto to) { t.covers_bulk(from, to); });
   }

   void use(instruction_set with) {
      v4_.use(with);
      v6_.use(with);
   }
   instruction_set in_use() const noexcept { return v4_.in_use(); }

   table_memory memory() const noexcept {
      table_memory sum = v4_.memory();
      const table_memory more = v6_.memory();
      sum.nodes += more.nodes;
      sum.values += more.values;
      sum.index += more.index;
      sum.free += more.free;
      return sum;
   }

  private:
   template <class Result, class Ask>
   Result inFamily(const address& a, Result none, Ask&& ask) const noexcept {
      switch (a.af()) {
         case Corenet::AddressFamily::ipv4: return ask(v4_, a.v4Addr());
         case Corenet::AddressFamily::ipv6: return ask(v6_, a.v6Addr());
         default: return none;
      }
   }
   // Each family's addresses by themselves.
   template <class Answer, class Ask>
   void bulk(std::span<const address> addresses, std::span<Answer> answers, Answer none, Ask&& ask) const {
      if (answers.size() < addresses.size()) {
         Impl::throwBulkSizes(addresses.size(), answers.size());
      }
      constexpr std::size_t burst = 64;
      const auto askOne = [&]<class Address, class Table>(const Table& t, std::size_t begin, std::size_t end,
                                                          auto&& take) {
         std::array<Address, burst> queries;
         std::array<std::size_t, burst> at;
         std::array<Answer, burst> found;
         std::size_t size = 0;
         for (std::size_t i = begin; i < end; ++i) {
            if (addresses[i].af() == Address::family) {
               queries[size] = take(addresses[i]);
               at[size++] = i;
            }
         }
         ask(t, std::span<const Address>(queries.data(), size), std::span<Answer>(found.data(), size));
         for (std::size_t i = 0; i < size; ++i) {
            answers[at[i]] = found[i];
         }
      };
      for (std::size_t begin = 0; begin < addresses.size(); begin += burst) {
         const std::size_t end = std::min(addresses.size(), begin + burst);
         std::ranges::fill(answers.subspan(begin, end - begin), none);
         askOne.template operator()<address4>(v4_, begin, end, [](const address& a) { return a.v4Addr(); });
         askOne.template operator()<address6>(v6_, begin, end, [](const address& a) { return a.v6Addr(); });
      }
   }

   compiled_table4<T> v4_;
   compiled_table6<T> v6_;
};

using compiled_set4 = compiled_table4<void>;
using compiled_set6 = compiled_table6<void>;
using compiled_set = compiled_table<void>;

// What answers as the table, snapshot or version of a shared table does now.
template <unsigned width, class T>
basic_compiled_table<width, T> compile(const basic_questions<width, T>& routes) {
   return basic_compiled_table<width, T>(routes);
}
template <class Four, class Six>
compiled_table<typename Four::mapped_type> compile(const both_questions<Four, Six>& routes) {
   return {compile(routes.v4()), compile(routes.v6())};
}
// Of a tracked table.
template <class Tracked>
requires requires(const Tracked& tracked) { compile(tracked.table()); }
auto compile(const Tracked& tracked) { return compile(tracked.table()); }

}  // namespace routetrie
