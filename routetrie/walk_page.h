// walk_page and walk_token: a walk in pages, with as much time between them as anybody likes.
//
//    std::optional<routetrie::walk_token> token{std::in_place};        the beginning
//    while (token) {
//       auto page = t.walk(1000, *token);
//       for (const auto& [prefix, value] : page) ...
//       token = page.next();                                           nothing when the walk has ended
//    }
//
// The table may change in any way between two pages, and while a page is walked: every route that is there throughout is seen
// exactly once, in order. Who leaves the loop early goes on behind the route that was reached. t.walk_covered(prefix, 1000) begins a
// walk of what lies under a prefix; its tokens know that, and walk() goes on from them as from any.
//
// A token is a place: where the walk begins, or the route behind which it goes on, which need not be there any more. It refers to no
// table, and its text can be sent away and read again by parse<walk_token>(), which refuses what is not as it was printed:
//
//    start,check=652b04df
//    after=10.1.0.0/16,under=10.0.0.0/8,check=e5e1a36f
//
// Tested by tests/table/WalkPageTest.cpp.
#pragma once

#include <fmt/format.h>

#include <concepts>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "routetrie/parse_result.h"
#include "routetrie/platform/Export.h"
#include "routetrie/prefix.h"
#include "routetrie/route.h"

namespace routetrie {

namespace Impl {

// Raises std::invalid_argument: a page of no routes would never get anywhere.
[[noreturn]] ROUTETRIE_EXPORT void throwNoBudget();

// The parts of a token's text, each empty where there is none.
struct TokenTexts {
   std::string_view after;
   std::string_view under;
};
ROUTETRIE_EXPORT std::string tokenText(std::string_view after, std::string_view under);
// What is wrong with the text; empty if nothing is.
ROUTETRIE_EXPORT std::string_view readToken(std::string_view text, TokenTexts& texts);
inline constexpr std::string_view noToken = "not a walk token";
inline constexpr std::string_view tokenOutside = "place of the walk token is not under its prefix";

}  // namespace Impl

template <any_prefix P>
class basic_walk_token {
  public:
   // The beginning of all routes.
   basic_walk_token() noexcept = default;
   // The beginning of those under a prefix, itself included.
   explicit basic_walk_token(const P& under) noexcept : under_(under) {}
   // Behind this route, of all or of those under a prefix.
   basic_walk_token(const std::optional<P>& under, const P& after) noexcept : under_(under), after_(after) {}

   const std::optional<P>& under() const noexcept { return under_; }  // none: all routes
   const std::optional<P>& after() const noexcept { return after_; }  // none: from the first on

   friend bool operator==(const basic_walk_token&, const basic_walk_token&) noexcept = default;
   friend std::ostream& operator<<(std::ostream& out, const basic_walk_token& token) {
      return out << Corvid::String(fmt::format("{}", token));
   }

  private:
   std::optional<P> under_;
   std::optional<P> after_;
};

using walk_token = basic_walk_token<prefix>;
using walk_token4 = basic_walk_token<prefix4>;
using walk_token6 = basic_walk_token<prefix6>;

template <class T>
concept any_walk_token = std::same_as<T, walk_token> || std::same_as<T, walk_token4> || std::same_as<T, walk_token6>;

// Reads what was printed, every character of it.
template <any_walk_token T>
parse_result<T> parse(std::string_view text) {
   using P = typename std::remove_cvref_t<decltype(T().under())>::value_type;
   const auto fail = [&](std::string_view fault) { return parse_result<T>::failure(Impl::quoted(fault, text)); };
   Impl::TokenTexts texts;
   if (const std::string_view fault = Impl::readToken(text, texts); !fault.empty()) {
      return fail(fault);
   }
   std::optional<P> under;
   if (!texts.under.empty()) {
      const auto read = parse<P>(texts.under);
      if (!read) {
         return fail(Impl::noToken);
      }
      under = *read;
   }
   if (texts.after.empty()) {
      return under ? T(*under) : T();
   }
   const auto after = parse<P>(texts.after);
   if (!after) {
      return fail(Impl::noToken);
   }
   return under && !covers(*under, *after) ? fail(Impl::tokenOutside) : T(under, *after);
}

// Some routes of a table, in order, to be walked once. It may not outlive the table.
template <class Table>
class walk_page {
  public:
   using prefix_type = typename Table::prefix_type;
   using token_type = basic_walk_token<prefix_type>;
   class iterator;

   // Of at most `budget` routes. Raises std::invalid_argument if that is 0.
   walk_page(const Table& table, std::size_t budget, const token_type& from)
      : table_(&table), from_(from), left_(budget) {
      if (budget == 0) {
         Impl::throwNoBudget();
      }
   }

   // Begins at the place in the table as it now is.
   iterator begin() noexcept {
      const auto& after = from_.after();
      const auto& under = from_.under();
      at_ = after ? table_->upper_bound(*after) : under ? table_->lower_bound(*under) : table_->begin();
      settle();
      begun_ = true;
      return iterator(this);
   }
   std::default_sentinel_t end() const noexcept { return {}; }

   // Where to go on behind the route that was reached last; nothing if no route lies behind it. Before begin(): where the page
   // begins.
   std::optional<token_type> next() const noexcept {
      if (!begun_) {
         return from_;
      }
      if (over_) {
         return std::nullopt;
      }
      const auto rest = table_->upper_bound(here_);
      return isOver(rest) ? std::nullopt : std::optional(token_type(from_.under(), here_));
   }

  private:
   bool isOver(const typename Table::iterator& at) const noexcept {
      const auto& under = from_.under();
      return at == std::default_sentinel || (under && !covers(*under, Impl::prefixOf(*at)));
   }
   // Asks for the route while it is there for certain.
   void settle() noexcept {
      over_ = isOver(at_);
      if (!over_) {
         here_ = Impl::prefixOf(*at_);
      }
   }
   void advance() noexcept {
      if (--left_ != 0) {
         ++at_;
         settle();
      }
   }

   const Table* table_;
   token_type from_;
   std::size_t left_;  // routes that may yet be handed out, the one that it stands on included
   typename Table::iterator at_;
   prefix_type here_{};  // the route that it stands on, or stood on last
   bool begun_ = false;
   bool over_ = false;  // no route is left
};

template <class Table>
class walk_page<Table>::iterator {
  public:
   using value_type = typename Table::value_type;
   using difference_type = std::ptrdiff_t;
   using reference = value_type;
   using iterator_concept = std::input_iterator_tag;

   iterator() noexcept = default;

   value_type operator*() const noexcept { return *page_->at_; }
   iterator& operator++() noexcept {
      page_->advance();
      return *this;
   }
   void operator++(int) noexcept { ++*this; }
   friend bool operator==(const iterator& at, std::default_sentinel_t) noexcept { return at.isAtEnd(); }

  private:
   friend walk_page;
   explicit iterator(walk_page* page) noexcept : page_(page) {}
   bool isAtEnd() const noexcept { return page_->over_ || page_->left_ == 0; }

   walk_page* page_ = nullptr;
};

// What became of one slice of a long change.
template <any_prefix P>
struct erased_slice {
   std::size_t erased = 0;
   std::optional<basic_walk_token<P>> next;  // where to go on; nothing when all is done
   friend bool operator==(const erased_slice&, const erased_slice&) noexcept = default;
};

namespace Impl {

template <class Table, class Test>
auto eraseSlice(Table& table, Test& test, std::size_t budget,
                const basic_walk_token<typename Table::prefix_type>& from) {
   erased_slice<typename Table::prefix_type> slice;
   auto page = table.walk(budget, from);
   for (const auto& route : page) {
      const auto p = prefixOf(route);
      if (test(route)) {
         slice.erased += table.erase(p);
      }
   }
   slice.next = page.next();
   return slice;
}

}  // namespace Impl
}  // namespace routetrie

template <routetrie::any_prefix P>
struct fmt::formatter<routetrie::basic_walk_token<P>> {
   constexpr auto parse(fmt::format_parse_context& context) { return context.begin(); }
   auto format(const routetrie::basic_walk_token<P>& token, fmt::format_context& context) const {
      const auto text = [](const std::optional<P>& p) { return p ? fmt::format("{}", *p) : std::string(); };
      return fmt::format_to(context.out(), "{}",
                            routetrie::Impl::tokenText(text(token.after()), text(token.under())));
   }
};

template <routetrie::any_prefix P>
struct std::hash<routetrie::basic_walk_token<P>> {
   std::size_t operator()(const routetrie::basic_walk_token<P>& token) const noexcept {
      const auto of = [](const std::optional<P>& p) { return p ? std::hash<P>()(*p) : 0; };
      return of(token.under()) * 31 + of(token.after());
   }
};
