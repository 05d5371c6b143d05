// Battery: one set of questions for every engine of routes. An engine is put behind a small adapter, is changed and asked
// together with a SlowTable, and every answer must be the table's.
//
// An adapter speaks IpGenPrefix and says with std::nullopt that there is no such route. What its engine lacks it leaves
// out of its abilities; where its engine departs by design from a plain reading, it says so in `habits`, and the battery
// then expects exactly that. Faults come back as text, so that a fuzz target and a shrinker can use the battery too.
// Tested by tests/property/BatteryTest.cpp, which plants a fault for each question.
#pragma once

#include <fmt/format.h>

#include <concepts>
#include <optional>
#include <string>
#include <string_view>

#include "tests/property/SlowTable.h"

namespace Property {

// What an engine may lack; every engine has exact and longestMatch.
enum Ability : U32 {
   parentAbility = 1,
   longerAbility = 2,
   nextAbility = 4,
   coveringAbility = 8,
   subtreeAbility = 16,
   childrenAbility = 32,
   orderedAbility = 64,
};

// Departures by design. The default values are the plain reading.
struct Habits {
   // longer() of the zero-length prefix is false, however full the table is.
   bool longerOfDefaultIsFalse = false;
   // remove() of the zero-length prefix is true, also when it is absent.
   bool removeOfDefaultIsTrue = false;
   // remove() of the zero-length prefix leaves it in place.
   bool defaultStays = false;
   // longer() is true also where mayCountAsLonger() is.
   bool countsBranches = false;
   // next() of a prefix that is no route is none, but for the zero-length prefix.
   bool nextOfAbsentIsNone = false;
   // next() is none where endsAtWhite() is.
   bool endsAtWhite = false;
   // children() of the zero-length prefix are none while it is absent.
   bool absentDefaultIsChildless = false;
   // shape() is that of the set of routes, whatever changes led to it.
   bool setHasOneTree = false;
};

template <class E>
concept Engine = std::default_initializable<E> && requires(E e, const E& c, const IpGenPrefix& p) {
   { E::name } -> std::convertible_to<std::string_view>;
   { E::family } -> std::convertible_to<Corenet::AddressFamily>;
   { E::abilities } -> std::convertible_to<U32>;
   { E::habits } -> std::convertible_to<Habits>;
   e.add(p);
   { e.remove(p) } -> std::same_as<bool>;
   { c.routes() } -> std::convertible_to<std::size_t>;
   { c.exact(p) } -> std::same_as<bool>;
   { c.longestMatch(p) } -> std::same_as<MaybePrefix>;
   // Empty if the engine is sound; it may take time in proportion to the table.
   { c.audit() } -> std::same_as<std::string>;
};

// Names the engines of a typed test.
struct EngineName {
   template <class E>
   static std::string GetName(int) {
      return std::string(E::name);
   }
};

//--- one question ---

inline std::string textOf(bool value) { return value ? "yes" : "no"; }
inline std::string textOf(const MaybePrefix& p) { return p ? std::string(p->stringValue()) : "none"; }
inline std::string textOf(const PrefixList& list) {
   std::string text = "(";
   for (const auto& p : list) {
      text += (text.size() == 1 ? "" : " ") + std::string(p.stringValue());
   }
   return text + ")";
}

// The answers of the table to the questions of everyday; a battery that asks them often of one table keeps them.
struct Answers {
   Answers(const SlowTable& table, const IpGenPrefix& p)
      : exact(table.exact(p)),
        longestMatch(table.longestMatch(p)),
        parent(table.parent(p)),
        longer(table.longer(p)) {}

   bool exact;
   MaybePrefix longestMatch;
   MaybePrefix parent;
   bool longer;
};

// The fault of one answer: empty if it is the expected one.
template <class Answer>
std::string faultOf(std::string_view question, const IpGenPrefix& p, const Answer& found, const Answer& expected) {
   return found == expected ? ""
                            : fmt::format("{}({}): found {}, expected {}", question, p.stringValue().view(),
                                          textOf(found), textOf(expected));
}

template <Engine E>
bool expectedLonger(const E& engine, const IpGenPrefix& p, bool longer) {
   if (E::habits.longerOfDefaultIsFalse && p.len() == 0) {
      return false;
   }
   if constexpr (E::habits.countsBranches) {
      return longer || engine.mayCountAsLonger(p);
   }
   return longer;
}

// Asks the questions of everyday about one prefix; the first fault, or nothing.
template <Engine E>
std::string faultAt(const E& engine, const IpGenPrefix& p, const Answers& expected) {
   std::string fault = faultOf("exact", p, engine.exact(p), expected.exact);
   if (fault.empty()) {
      fault = faultOf("longestMatch", p, engine.longestMatch(p), expected.longestMatch);
   }
   if constexpr ((E::abilities & parentAbility) != 0) {
      if (fault.empty()) {
         fault = faultOf("parent", p, engine.parent(p), expected.parent);
      }
   }
   if constexpr ((E::abilities & longerAbility) != 0) {
      if (fault.empty()) {
         fault = faultOf("longer", p, engine.longer(p), expectedLonger(engine, p, expected.longer));
      }
   }
   return fault;
}

template <Engine E>
MaybePrefix expectedNext(const E& engine, const IpGenPrefix& p, const SlowTable& table) {
   if constexpr (E::habits.endsAtWhite) {
      if (engine.endsAtWhite(p)) {
         return std::nullopt;
      }
   }
   const bool isNone = E::habits.nextOfAbsentIsNone && p.len() != 0 && !table.exact(p);
   return isNone ? std::nullopt : table.next(p);
}

template <Engine E>
PrefixList expectedChildren(const IpGenPrefix& p, const SlowTable& table) {
   const bool none = E::habits.absentDefaultIsChildless && p.len() == 0 && !table.exact(p);
   return none ? PrefixList() : table.children(p);
}

// Asks for the neighbour and for the lists that the engine can give.
template <Engine E>
std::string listFaultAt(const E& engine, const IpGenPrefix& p, const SlowTable& table) {
   std::string fault;
   if constexpr ((E::abilities & nextAbility) != 0) {
      if (fault.empty()) {
         fault = faultOf("next", p, engine.next(p), expectedNext(engine, p, table));
      }
   }
   if constexpr ((E::abilities & coveringAbility) != 0) {
      if (fault.empty()) {
         fault = faultOf("covering", p, engine.covering(p), table.covering(p));
      }
   }
   if constexpr ((E::abilities & subtreeAbility) != 0) {
      if (fault.empty()) {
         fault = faultOf("subtree", p, engine.subtree(p), table.subtree(p));
      }
   }
   if constexpr ((E::abilities & childrenAbility) != 0) {
      if (fault.empty()) {
         fault = faultOf("children", p, engine.children(p), expectedChildren<E>(p, table));
      }
   }
   return fault;
}

// Asks everything that the engine can answer about one prefix.
template <Engine E>
std::string faultAt(const E& engine, const IpGenPrefix& p, const SlowTable& table) {
   const std::string fault = faultAt(engine, p, Answers(table, p));
   return fault.empty() ? listFaultAt(engine, p, table) : fault;
}

//--- an engine beside its oracle ---

template <Engine E>
class Session {
  public:
   const E& engine() const { return engine_; }
   const SlowTable& table() const { return table_; }

   // Each gives the first fault, or nothing.
   std::string add(const IpGenPrefix& p) {
      engine_.add(p);
      table_.add(p);
      return routesFault();
   }
   std::string remove(const IpGenPrefix& p) {
      const bool found = engine_.remove(p);
      bool expected = E::habits.defaultStays && p.len() == 0 ? table_.exact(p) : table_.remove(p);
      expected = expected || (E::habits.removeOfDefaultIsTrue && p.len() == 0);
      std::string fault = faultOf("remove", p, found, expected);
      return fault.empty() ? routesFault() : fault;
   }
   std::string ask(const IpGenPrefix& p) const { return faultAt(engine_, p, table_); }

   // Recounts the whole engine, and compares its whole list of routes if it can give one.
   std::string audit() const {
      std::string fault = engine_.audit();
      if constexpr ((E::abilities & orderedAbility) != 0) {
         if (fault.empty() && engine_.ordered() != table_.ordered()) {
            fault = "ordered: found " + textOf(engine_.ordered()) + ", expected " + textOf(table_.ordered());
         }
      }
      return fault;
   }

  private:
   std::string routesFault() const {
      const std::size_t found = engine_.routes();
      return found == table_.size() ? "" : fmt::format("routes: found {}, expected {}", found, table_.size());
   }

   E engine_;
   SlowTable table_;
};

}  // namespace Property
