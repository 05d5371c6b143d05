#include "tools/rtrie/Engine.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include "tools/rtrie/Errors.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/engines/ContainerTable.h"
#include "tools/rtrie/engines/FrontTable.h"
#include "tools/rtrie/engines/IntrusiveTable.h"
#include "tools/rtrie/engines/MultibitTable.h"
#include "tools/rtrie/engines/PatriciaDataTable.h"
#include "tools/rtrie/engines/PatriciaTable.h"

namespace Rtrie {
namespace {

template <class Table>
constexpr Engine engine(std::string_view name, std::string_view summary, bool ipv4 = true, bool ipv6 = true) {
   return {
      name, summary, ipv4, ipv6, answeredBy<Table>(), [](Corenet::AddressFamily af) -> std::unique_ptr<RouteTable> {
         return std::make_unique<Table>(af);
      }};
}

constexpr Engine engineRows[] = {
   engine<ContainerTable>("auto", "table, but gen where a command reads fields of an engine by their names"),
   engine<ContainerTable>("table", "the container routetrie::table, with a payload for each route"),
   engine<GenTable>("gen", "the front end that publishes: multibit trie for IPv4, Patricia trie for IPv6"),
   engine<PatriciaTable>("patricia", "Patricia trie with whole addresses in its nodes"),
   engine<CompactPatriciaTable>("patricia-compact", "Patricia trie with one-word prefixes in its IPv6 nodes"),
   engine<PatriciaDataTable>("patricia-data", "the same with a payload for each route, kept in the trie"),
   engine<MultibitTable>("multibit", "multibit trie of six levels, one byte of routes a level; IPv4 alone", true,
                         false),
   engine<IntrusiveTable>("intrusive", "trie whose nodes are the routes' own objects; IPv6 alone", false, true),
   engine<Trie6Table>("trie6", "the IPv6 half of that by itself", false, true),
   engine<CompactTable>("compact", "Patricia trie behind a front end of one-word prefixes"),
   engine<WrapperTable>("wrapper", "front end of one-word prefixes: multibit trie for IPv4, Patricia trie for IPv6"),
};

}  // namespace

std::span<const Engine> engines() { return engineRows; }

const Engine& engineNamed(std::string_view name, Questions questions, std::string_view what) {
   const Engine* engine = &rowNamed(engines(), "engine", name);
   if (engine == std::begin(engineRows)) {
      const auto* able = std::find_if(std::begin(engineRows), std::end(engineRows),
                                      [&](const Engine& each) { return includes(each.answers, questions); });
      engine = able == std::end(engineRows) ? engine : able;
   }
   requireAnswers(*engine, questions, what, engines());
   return *engine;
}

void requireAnswers(const Engine& engine, Questions questions, std::string_view what, std::span<const Engine> known) {
   if (includes(engine.answers, questions)) {
      return;
   }
   std::vector<Engine> able;
   for (const Engine& other : known) {
      if (includes(other.answers, questions)) {
         able.push_back(other);
      }
   }
   throw UsageError(fmt::format("engine \"{}\" has no {}: engines that have it are {}", engine.name, what,
                                able.empty() ? "none" : namesOf(std::span<const Engine>(able))));
}

}  // namespace Rtrie
