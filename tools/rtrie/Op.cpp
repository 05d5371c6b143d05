#include "tools/rtrie/Op.h"

#include <fmt/format.h>

#include "tools/rtrie/Errors.h"
#include "tools/rtrie/Registry.h"

namespace Rtrie {
namespace {

using Query = Corenet::IpGenPrefix;

constexpr Op opRows[] = {
   {"match", "the longest route that covers the query", Questions::longestMatch, AnswerKind::routes, false,
    [](const RouteTable& table, const Query& query, Answer& answer) { answer.routeIs(table.longestMatch(query)); }},
   {"exact", "yes if the query itself is a route", Questions::longestMatch, AnswerKind::yesNo, true,
    [](const RouteTable& table, const Query& query, Answer& answer) {
       answer.yes = table.longestMatch(query) == query;
    }},
   {"parent", "the longest route that covers the query and is shorter", Questions::parent, AnswerKind::routes, false,
    [](const RouteTable& table, const Query& query, Answer& answer) { answer.routeIs(table.parent(query)); }},
   {"longer", "yes if the query covers a longer route", Questions::longerPresent, AnswerKind::yesNo, false,
    [](const RouteTable& table, const Query& query, Answer& answer) { answer.yes = table.longerPresent(query); }},
   {"covering", "the routes that cover the query, shortest first", Questions::covering, AnswerKind::routes, false,
    [](const RouteTable& table, const Query& query, Answer& answer) {
       table.covering(query, [&](const Query& route) { answer.routeIs(route); });
    }},
   {"children", "the longer routes under the query with no other between", Questions::children, AnswerKind::routes,
    false,
    [](const RouteTable& table, const Query& query, Answer& answer) {
       table.children(query, [&](const Query& route) { answer.routeIs(route); });
    }},
   {"subtree", "the routes that the query covers, by address and length", Questions::subtree, AnswerKind::routes,
    false,
    [](const RouteTable& table, const Query& query, Answer& answer) {
       table.subtree(query, [&](const Query& route) { answer.routeIs(route); });
    }},
   {"next", "the first route after the query, by address and length; never the default route", Questions::next,
    AnswerKind::routes, false,
    [](const RouteTable& table, const Query& query, Answer& answer) { answer.routeIs(table.next(query)); }},
};

}  // namespace

std::span<const Op> ops() { return opRows; }

const Op& opOfEngine(std::string_view name, const Engine& engine, std::span<const Engine> known) {
   const Op& op = rowNamed(ops(), "op", name);
   requireAnswers(engine, op.needs, fmt::format("op \"{}\"", op.name), known);
   return op;
}

}  // namespace Rtrie
