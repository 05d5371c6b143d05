// RouteTable: the routes of one family inside an engine, and the questions that rtrie can ask of it. An engine
// overrides the questions that it can answer; which ones those are follows from the overriding itself.
//
// Queries are of the table's family. "No route" is the empty IpGenPrefix (family none) throughout. Where routes have an
// order it is that of addresses, and of lengths among equal addresses.
// Tested by tests/tools/rtrie/EngineTest.cpp.
#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Keel/DumpContext.h"
#include "routetrie/platform/Types.h"
#include "tools/tables/RouteSet.h"

namespace Rtrie {

class RouteTable {
  public:
   using Prefix = Corenet::IpGenPrefix;
   using Visit = std::function<void(const Prefix&)>;

   RouteTable() = default;
   RouteTable(const RouteTable&) = delete;
   RouteTable& operator=(const RouteTable&) = delete;
   virtual ~RouteTable() = default;

   // Adds a route; adding it again changes nothing.
   virtual void routeIs(const Prefix& route) = 0;
   // The same with its payload, which an engine without payloads lets go; again, it takes the place of the one before. Payloads of
   // one set alone, whose views have to hold as long as the table is asked for them.
   virtual void routeWithPayloadIs(const Prefix& route, const Payload&) { routeIs(route); }
   virtual std::uint64_t routes() const = 0;

   // Nodes of one kind, of an engine that has several.
   struct Kind {
      std::string_view name;
      std::uint64_t count = 0;
      std::uint64_t bytes = 0;
   };
   // What an engine has at one of its levels; the default route is at none.
   struct Level {
      std::string name;
      std::uint64_t nodes = 0;
      std::uint64_t routes = 0;
      std::vector<Kind> kinds{};  // of the nodes, those that are there; empty unless the engine tells
      std::uint64_t bytes() const noexcept {
         std::uint64_t sum = 0;
         for (const Kind& kind : kinds) {
            sum += kind.bytes;
         }
         return sum;
      }
   };
   // How many nodes lie from the root to a route's, both counted.
   struct Depth {
      double average = 0;
      unsigned worst = 0;
   };
   // What the engine is made of, as far as it tells; of some that takes a pass over all of it.
   struct Shape {
      std::optional<std::uint64_t> nodes;
      std::vector<Level> levels;  // from the top; empty unless it is an engine of levels
      std::optional<Depth> depth;
   };
   virtual Shape shape() const { return {}; }
   // The bytes that the engine holds and no allocation tracker counts.
   virtual std::uint64_t untrackedBytes() const { return 0; }
   // What an engine that knows holds its bytes for. Empty for any other engine.
   struct BytesFor {
      std::string_view use;
      std::uint64_t bytes = 0;
   };
   virtual std::vector<BytesFor> bytesByUse() const { return {}; }

   // The engine's own object, to be reached by name.
   virtual Corvid::Node& object() const { notAnswered(); }
   // The object to ask for a field of that name: where a front end has none, the engine beneath it.
   virtual Corvid::Node& objectWith(std::string_view) const { return object(); }

   // The longest route that covers the query, which may be the query itself.
   virtual Prefix longestMatch(const Prefix&) const { notAnswered(); }
   // The longest route that covers the query and is shorter.
   virtual Prefix parent(const Prefix&) const { notAnswered(); }
   // Whether the query covers a route that is longer; for a zero-length query, whether there is any but the default route.
   virtual bool longerPresent(const Prefix&) const { notAnswered(); }
   // Visits the routes that cover the query, shortest first: the default route, and at last the query itself.
   virtual void covering(const Prefix&, const Visit&) const { notAnswered(); }
   // Visits the routes that the query covers, itself included, in order.
   virtual void subtree(const Prefix&, const Visit&) const { notAnswered(); }
   // Visits those of them that are longer than the query, and that no other such route covers, in order.
   virtual void children(const Prefix&, const Visit&) const { notAnswered(); }
   // The first route after the query, in order; never the default route.
   virtual Prefix next(const Prefix&) const { notAnswered(); }
   // The payload of a route as the engine holds it; nullopt if there is no such route. The view holds until a route is added.
   virtual std::optional<std::string_view> payload(const Prefix&) const { notAnswered(); }
   // Checks the engine's own rules: empty if it is sound, else the first broken one.
   virtual std::string audit() const { notAnswered(); }
   // Writes the engine's state for an operator, or for its developer the tree of its nodes.
   virtual void dump(const Corvid::Ptr<const Keel::DumpContext>&) const { notAnswered(); }
   virtual void dumpTree(std::ostream&) const { notAnswered(); }
   // How to read that tree; empty where nothing is to be said.
   virtual std::string_view treeLegend() const { return {}; }

  protected:
   // covering() of an engine that has no operation for it: a search for each route. Requires: longestMatch and parent.
   void coveringByParents(const Prefix& query, const Visit& visit) const;
   // Whether there is a route but the default one, for engines that say no to each zero-length query for a longer route.
   // Requires: next.
   bool hasLongerThanDefault(const Prefix& zeroLength) const {
      return next(zeroLength).af() != Corenet::AddressFamily::none;
   }

  private:
   [[noreturn]] static void notAnswered() {
      throw std::logic_error("a question was put to an engine that does not answer it");
   }
};

// The questions of RouteTable, as a set of bits.
enum class Questions : U32 {
   none = 0,
   longestMatch = 1,
   parent = 2,
   longerPresent = 4,
   covering = 8,
   subtree = 16,
   children = 32,
   next = 64,
   payload = 128,
   dump = 256,
   dumpTree = 512,
   object = 1024,
   audit = 2048
};

constexpr Questions operator|(Questions a, Questions b) {
   return static_cast<Questions>(static_cast<U32>(a) | static_cast<U32>(b));
}
constexpr bool includes(Questions all, Questions some) {
   return (static_cast<U32>(all) & static_cast<U32>(some)) == static_cast<U32>(some);
}

// The questions that Table overrides.
template <std::derived_from<RouteTable> Table>
consteval Questions answeredBy() {
   Questions all = Questions::none;
   // &Table::f has RouteTable's own type unless Table declares f itself.
   const auto ask = [&all]<class Own, class Base>(Questions question, Own, Base) {
      if (!std::same_as<Own, Base>) {
         all = all | question;
      }
   };
   ask(Questions::longestMatch, &Table::longestMatch, &RouteTable::longestMatch);
   ask(Questions::parent, &Table::parent, &RouteTable::parent);
   ask(Questions::longerPresent, &Table::longerPresent, &RouteTable::longerPresent);
   ask(Questions::covering, &Table::covering, &RouteTable::covering);
   ask(Questions::subtree, &Table::subtree, &RouteTable::subtree);
   ask(Questions::children, &Table::children, &RouteTable::children);
   ask(Questions::next, &Table::next, &RouteTable::next);
   ask(Questions::payload, &Table::payload, &RouteTable::payload);
   ask(Questions::dump, &Table::dump, &RouteTable::dump);
   ask(Questions::dumpTree, &Table::dumpTree, &RouteTable::dumpTree);
   ask(Questions::object, &Table::object, &RouteTable::object);
   ask(Questions::audit, &Table::audit, &RouteTable::audit);
   return all;
}

}  // namespace Rtrie
