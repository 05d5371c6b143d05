#include "tools/rtrie/Op.h"

#include <fmt/format.h>

#include "tools/rtrie/Errors.h"
#include "tools/rtrie/Registry.h"

namespace Rtrie {
namespace {

using Query = Corenet::IpGenPrefix;

constexpr Op rows[] = {
   {"match", "the longest route that covers the query", Questions::longestMatch, AnswerKind::routes, false,
    [](const RouteTable& table, const Query& query, Answer& answer) { answer.routeIs(table.longestMatch(query)); }},
   {"exact", "yes if the query itself is a route", Questions::longestMatch, AnswerKind::yesNo, true,
    [](const RouteTable& table, const Query& query, Answer& answer) {
       answer.yes = table.longestMatch(query) == query;
    }},
   {"parent", "the longest route that covers the query and is shorter", Questions::parent, AnswerKind::routes, false,
    [](const RouteTable& table, const Query& query, Answer& answer) { answer.routeIs(table.parent(query)); }},
   {"longer", "yes if the query covers a longer route; of length 0, always no", Questions::longerPresent,
    AnswerKind::yesNo, false,
    [](const RouteTable& table, const Query& query, Answer& answer) { answer.yes = table.longerPresent(query); }},
};

}  // namespace

std::span<const Op> ops() { return rows; }

const Op& opOfEngine(std::string_view name, const Engine& engine, std::span<const Engine> known) {
   const Op& op = rowNamed(ops(), "op", name);
   if (includes(engine.answers, op.needs)) {
      return op;
   }
   std::vector<Engine> able;
   for (const Engine& other : known) {
      if (includes(other.answers, op.needs)) {
         able.push_back(other);
      }
   }
   throw UsageError(fmt::format("engine \"{}\" has no op \"{}\": engines that have it are {}", engine.name, op.name,
                                able.empty() ? "none" : namesOf(std::span<const Engine>(able))));
}

}  // namespace Rtrie
