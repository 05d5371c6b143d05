// RouteTable: the routes of one family inside an engine, and the questions that rtrie can ask of it. An engine
// overrides the questions that it can answer; which ones those are follows from the overriding itself.
//
// Queries are of the table's family. "No route" is the empty IpGenPrefix (family none) throughout.
// Tested by tests/tools/rtrie/EngineTest.cpp.
#pragma once

#include <concepts>
#include <stdexcept>

#include "platform/Corenet.h"
#include "platform/Corvid/Node.h"
#include "platform/Types.h"

namespace Rtrie {

class RouteTable {
  public:
   using Prefix = Corenet::IpGenPrefix;

   RouteTable() = default;
   RouteTable(const RouteTable&) = delete;
   RouteTable& operator=(const RouteTable&) = delete;
   virtual ~RouteTable() = default;

   // Adds a route; adding it again changes nothing.
   virtual void routeIs(const Prefix& route) = 0;
   virtual U64 routes() const = 0;
   virtual U64 nodes() const = 0;

   // The engine's own object, to be reached by name.
   virtual Corvid::Node& object() const = 0;

   // The longest route that covers the query, which may be the query itself.
   virtual Prefix longestMatch(const Prefix&) const { return notAnswered(); }
   // The longest route that covers the query and is shorter.
   virtual Prefix parent(const Prefix&) const { return notAnswered(); }
   // Whether the query covers a route that is longer. A zero-length query is answered with no.
   virtual bool longerPresent(const Prefix&) const { return notAnswered().len() != 0; }

  private:
   [[noreturn]] static Prefix notAnswered() {
      throw std::logic_error("a question was put to an engine that does not answer it");
   }
};

// The questions of RouteTable, as a set of bits.
enum class Questions : U32 { none = 0, longestMatch = 1, parent = 2, longerPresent = 4 };

constexpr Questions operator|(Questions a, Questions b) {
   return static_cast<Questions>(static_cast<U32>(a) | static_cast<U32>(b));
}
constexpr bool includes(Questions all, Questions some) {
   return (static_cast<U32>(all) & static_cast<U32>(some)) == static_cast<U32>(some);
}

// The questions that Table overrides.
template <std::derived_from<RouteTable> Table>
consteval Questions answeredBy() {
   // &Table::f has RouteTable's own type unless Table declares f itself.
   Questions all = Questions::none;
   if constexpr (!std::same_as<decltype(&Table::longestMatch), decltype(&RouteTable::longestMatch)>) {
      all = all | Questions::longestMatch;
   }
   if constexpr (!std::same_as<decltype(&Table::parent), decltype(&RouteTable::parent)>) {
      all = all | Questions::parent;
   }
   if constexpr (!std::same_as<decltype(&Table::longerPresent), decltype(&RouteTable::longerPresent)>) {
      all = all | Questions::longerPresent;
   }
   return all;
}

}  // namespace Rtrie
