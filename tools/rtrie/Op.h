// Op: a question of `rtrie lookup`, by name. To add one, give it a row in Op.cpp; if no engine can be asked it yet,
// add the question to RouteTable first.
//
// Tested by tests/tools/rtrie/OpTest.cpp.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/RouteTable.h"

namespace Rtrie {

enum class AnswerKind : U8 {
   yesNo,   // Answer::yes
   routes,  // Answer::routes, none of them meaning that there is no answer
};

// Reused from query to query.
struct Answer {
   bool yes = false;
   std::vector<Corenet::IpGenPrefix> routes;

   // Adds a route; the empty prefix adds nothing.
   void routeIs(const Corenet::IpGenPrefix& route) {
      if (route.af() != Corenet::AddressFamily::none) {
         routes.push_back(route);
      }
   }
};

struct Op {
   std::string_view name;
   std::string_view summary;
   Questions needs;
   AnswerKind kind;
   bool isAboutQuery;  // of a yesNo op: yes means that the query is a route, which then has a payload
   // The answer is empty before.
   void (*ask)(const RouteTable& table, const Corenet::IpGenPrefix& query, Answer& answer);
};

// The first is the default.
std::span<const Op> ops();

// The op of that name. Raises UsageError if there is none, or if the engine has it not; known: all engines.
const Op& opOfEngine(std::string_view name, const Engine& engine, std::span<const Engine> known);

}  // namespace Rtrie
