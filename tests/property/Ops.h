// Ops: a list of changes and questions, as text that can be pasted into a test:
//
//    +10.0.0.0/8 -10.1.0.0/16 ?10.1.2.3/32      add, remove, ask
//
// and how to run one on an engine beside its oracle, and to shrink one that shows a fault.
// Tested by tests/property/BatteryTest.cpp.
#pragma once

#include <fmt/format.h>

#include <chrono>
#include <sstream>
#include <string>
#include <vector>

#include "tests/property/Battery.h"
#include "tests/property/LiveCounts.h"

namespace Property {

struct Op {
   enum Kind : char { add = '+', remove = '-', ask = '?' };
   Kind kind;
   IpGenPrefix prefix;
};
using Ops = std::vector<Op>;

inline std::string textOf(const Ops& ops) {
   std::string text;
   for (const Op& op : ops) {
      text +=
         fmt::format("{}{}{}", text.empty() ? "" : " ", static_cast<char>(op.kind), op.prefix.stringValue().view());
   }
   return text;
}

inline Ops opsOf(const std::string& text) {
   std::istringstream words(text);
   Ops ops;
   for (std::string word; words >> word;) {
      ops.push_back({static_cast<Op::Kind>(word.at(0)), IpGenPrefix::fromString(word.substr(1))});
   }
   return ops;
}

// The change that the op makes to an engine or a table; a question makes none.
template <class Table>
void change(Table& table, const Op& op) {
   if (op.kind == Op::add) {
      table.add(op.prefix);
   } else if (op.kind == Op::remove) {
      table.remove(op.prefix);
   }
}

struct Fault {
   std::size_t at;    // index of the op that showed it; the number of ops for one that the end showed
   std::string text;  // empty: none
};

template <Engine E>
std::string faultOf(Session<E>& session, const Op& op) {
   switch (op.kind) {
      case Op::add: return session.add(op.prefix);
      case Op::remove: return session.remove(op.prefix);
      case Op::ask: return session.ask(op.prefix);
   }
   return "no such op";
}

// Runs the ops and stops at the first fault. The whole engine is audited after each change of a table of up to
// `smallRoutes` routes, and of a larger one every `auditEvery` ops and at the end; whatever was allocated has to be
// given back when the engine goes.
template <Engine E>
Fault run(const Ops& ops, std::size_t auditEvery, std::size_t smallRoutes = 24) {
   const LiveCounts before;
   Fault fault{ops.size(), ""};
   {
      Session<E> session;
      for (std::size_t i = 0; i < ops.size() && fault.text.empty(); ++i) {
         fault = {i, faultOf(session, ops[i])};
         const bool isSmall = ops[i].kind != Op::ask && session.table().size() <= smallRoutes;
         if (fault.text.empty() && (isSmall || i % auditEvery == 0 || i + 1 == ops.size())) {
            fault.text = session.audit();
         }
      }
   }
   if (fault.text.empty()) {
      fault = {ops.size(), before.changes()};
   }
   return fault;
}

// A shorter list that still shows a fault, found by leaving out ever smaller pieces; `seconds` bounds the search.
template <Engine E>
Ops shrunk(Ops ops, double seconds) {
   const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
   const auto keep = [&](std::size_t size) { ops.erase(ops.begin() + static_cast<std::ptrdiff_t>(size), ops.end()); };
   keep(std::min(ops.size(), run<E>(ops, 1, 24).at + 1));
   for (std::size_t piece = ops.size() / 2; piece > 0; piece /= 2) {
      for (std::size_t at = 0; at < ops.size() && std::chrono::steady_clock::now() < deadline;) {
         Ops shorter(ops.begin(), ops.begin() + static_cast<std::ptrdiff_t>(at));
         shorter.insert(shorter.end(), ops.begin() + static_cast<std::ptrdiff_t>(std::min(at + piece, ops.size())),
                        ops.end());
         if (run<E>(shorter, 1).text.empty()) {
            at += piece;
         } else {
            ops = std::move(shorter);
         }
      }
   }
   return ops;
}

// What a test prints of a run: nothing if it is sound, else the fault and a list of ops that shows it.
template <Engine E>
std::string report(const Ops& ops, std::size_t auditEvery) {
   const Fault fault = run<E>(ops, auditEvery);
   if (fault.text.empty()) {
      return "";
   }
   const Ops shorter = shrunk<E>(ops, 20);
   return fmt::format("{}: op {} of {}: {}\nshrunk to {} ops: {}\nwhich show: {}\n", E::name, fault.at, ops.size(),
                      fault.text, shorter.size(), textOf(shorter), run<E>(shorter, 1).text);
}

}  // namespace Property
