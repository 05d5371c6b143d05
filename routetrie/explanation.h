// explanation: why a table answers as it does: every route that covers what was asked, shortest first, which of them was taken
// and why each other was not, and what a lookup read on its way.
//
//    10.1.2.3/32
//      0.0.0.0/0 = 7    not taken: a longer one covers it
//      10.1.0.0/16 = 2  taken: the longest
//    read: 2 places, 96 bytes
//      bit 0, 64 bytes: node
//      bit 16, 32 bytes: leaf
//
// It refers to the table's values as an answer does.
// Tested by tests/table/TableTest.cpp.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <iosfwd>
#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "routetrie/prefix.h"
#include "routetrie/route.h"

namespace routetrie {

enum class verdict {
   taken,    // the answer
   shorter,  // a longer one covers it, and was taken
   refused,  // longer than the one taken, and the caller's test refused it
};

// In words: "taken: the longest", "not taken: a longer one covers it", "not taken: refused by the test".
ROUTETRIE_EXPORT std::string_view describe(verdict why) noexcept;
inline std::ostream& operator<<(std::ostream& out, verdict why) {
   return out << Corvid::String(std::string(describe(why)));
}

// One place in memory that a lookup reads.
struct lookup_read {
   unsigned depth;         // bits of the address that led there
   unsigned bytes;         // how many lie there
   std::string_view what;  // the kind of node, of static storage
   friend bool operator==(const lookup_read&, const lookup_read&) noexcept = default;
};

template <any_prefix P, class T>
struct explanation {
   using route_type = typename std::conditional_t<std::is_void_v<T>, std::type_identity<P>,
                                                  std::type_identity<basic_route<P, T>>>::type;
   struct candidate {
      route_type route;
      verdict why;
      friend bool operator==(const candidate& a, const candidate& b) requires std::equality_comparable<route_type> {
         return a.route == b.route && a.why == b.why;
      }
   };

   P asked{};                          // an address as its /32 or /128
   std::vector<candidate> candidates;  // shortest first
   std::vector<lookup_read> reads;     // in their order

   // The one that was taken; null if none was.
   const candidate* taken() const noexcept {
      for (const candidate& c : candidates) {
         if (c.why == verdict::taken) {
            return &c;
         }
      }
      return nullptr;
   }

   // The same question with the same answers, equal values, and as much to read.
   friend bool operator==(const explanation& a, const explanation& b) requires std::equality_comparable<route_type> {
      return a.asked == b.asked && a.candidates == b.candidates && a.reads == b.reads;
   }
   friend std::ostream& operator<<(std::ostream& out, const explanation& e) {
      return out << Corvid::String(fmt::format("{}", e));
   }
};

// What a table holds, in bytes; the sum is what its allocators handed out.
struct table_memory {
   std::size_t nodes = 0;   // with the values that lie in them
   std::size_t values = 0;  // in slots of their own
   std::size_t index = 0;   // direct tables of the first bits
   std::size_t free = 0;    // handed out, and empty for now: of nodes and of slots
   std::size_t old = 0;     // replaced, and kept for snapshots or until readers have gone
   // Of `old`, what only waits until readers have gone; snapshots keep the rest.
   std::size_t for_readers = 0;
   std::size_t total() const noexcept { return nodes + values + index + free + old; }
   table_memory& operator+=(const table_memory& other) noexcept {
      nodes += other.nodes;
      values += other.values;
      index += other.index;
      free += other.free;
      old += other.old;
      for_readers += other.for_readers;
      return *this;
   }
   friend bool operator==(const table_memory&, const table_memory&) noexcept = default;
};

}  // namespace routetrie

template <>
struct fmt::formatter<routetrie::verdict> : fmt::formatter<std::string_view> {
   auto format(routetrie::verdict why, fmt::format_context& context) const {
      return fmt::formatter<std::string_view>::format(routetrie::describe(why), context);
   }
};

template <>
struct fmt::formatter<routetrie::table_memory> {
   constexpr auto parse(fmt::format_parse_context& context) { return context.begin(); }
   auto format(const routetrie::table_memory& m, fmt::format_context& context) const {
      auto out = fmt::format_to(context.out(), "bytes {}: nodes {}, values {}, index {}, free {}, old {}", m.total(),
                                m.nodes, m.values, m.index, m.free, m.old);
      return m.for_readers != 0 ? fmt::format_to(out, ", of which {} for readers", m.for_readers) : out;
   }
};

namespace routetrie {

// "bytes 600: nodes 344, values 0, index 0, free 256, old 0".
inline std::ostream& operator<<(std::ostream& out, const table_memory& m) {
   return out << Corvid::String(fmt::format("{}", m));
}

}  // namespace routetrie

template <routetrie::any_prefix P, class T>
struct fmt::formatter<routetrie::explanation<P, T>> {
   constexpr auto parse(fmt::format_parse_context& context) { return context.begin(); }
   auto format(const routetrie::explanation<P, T>& e, fmt::format_context& context) const {
      auto out = fmt::format_to(context.out(), "{}\n", e.asked);
      std::vector<std::string> texts;
      std::size_t widest = 0;
      for (const auto& c : e.candidates) {
         if constexpr (std::is_void_v<T>) {
            texts.push_back(fmt::format("{}", c.route));
         } else if constexpr (fmt::is_formattable<T>::value) {
            texts.push_back(fmt::format("{} = {}", c.route.prefix, c.route.value));
         } else {
            texts.push_back(fmt::format("{}", c.route.prefix));
         }
         widest = std::max(widest, texts.back().size());
      }
      for (std::size_t i = 0; i < texts.size(); ++i) {
         out = fmt::format_to(out, "  {:<{}}  {}\n", texts[i], widest, describe(e.candidates[i].why));
      }
      if (e.taken() == nullptr) {
         out = fmt::format_to(out, "  no route\n");
      }
      std::size_t bytes = 0;
      for (const auto& read : e.reads) {
         bytes += read.bytes;
      }
      out = fmt::format_to(out, "read: {} places, {} bytes\n", e.reads.size(), bytes);
      for (const auto& read : e.reads) {
         out = fmt::format_to(out, "  bit {}, {} bytes: {}\n", read.depth, read.bytes, read.what);
      }
      return out;
   }
};
