#include "tools/rtrie/commands/WatchCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/table.h"
#include "routetrie/trie/front/TrieGen.h"
#include "tools/rtrie/ChangeFormat.h"
#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/Rows.h"
#include "tools/rtrie/TableSet.h"
#include "tools/rtrie/UpdateLines.h"
#include "tools/tables/LineReader.h"
#include "tools/tables/Messages.h"
#include "tools/tables/Numbers.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableLoader.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

// The route that answers a watched query, with its payload.
struct Best {
   Corenet::IpGenPrefix prefix;
   std::string payload;
   bool operator==(const Best&) const = default;
};

// Another one answers a watched query now, or with another payload, because of that.
struct MatchChange {
   Corenet::IpGenPrefix query;
   std::optional<Best> before;
   std::optional<Best> after;
   Effect cause;
};

struct WatchFormat {
   std::string_view name;
   std::string_view summary;
   void (*begin)(bool isOfMatches, Output& output);
   void (*print)(const Effect& effect, Output& output);
   void (*printMatch)(const MatchChange& change, Output& output);
};

void printText(const Effect& effect, Output& output) {
   const auto shown = [](const std::optional<std::string>& payload) {
      return payload && !payload->empty() ? std::string_view(*payload) : std::string_view("-");
   };
   output.format("{:<7}  {}", nameOf(effect.kind), effect.prefix.stringValue());
   if (effect.kind == ChangeKind::replace) {
      output.format("  {} -> {}", shown(effect.before), shown(effect.after));
   } else if (const auto& one = effect.before ? effect.before : effect.after; one && !one->empty()) {
      output.format("  {}", *one);
   }
   output.text("\n");
}

void printMatchText(const MatchChange& change, Output& output) {
   const auto shown = [](const std::optional<Best>& best) {
      return !best
                ? std::string("none")
                : fmt::format("{}{}{}", best->prefix.stringValue(), best->payload.empty() ? "" : " ", best->payload);
   };
   output.format("{}  {} -> {}  ({} {})\n", change.query.stringValue(), shown(change.before), shown(change.after),
                 nameOf(change.cause.kind), change.cause.prefix.stringValue());
}

template <RowForm form>
void printMatchRow(const MatchChange& change, Output& output) {
   const auto prefix = [](const std::optional<Best>& best) {
      return best ? std::string(best->prefix.stringValue()) : std::string("-");
   };
   const auto payload = [](const std::optional<Best>& best) {
      return best ? std::string_view(best->payload) : std::string_view();
   };
   row(output, form,
       {change.query.stringValue(), prefix(change.before), payload(change.before), prefix(change.after),
        payload(change.after), nameOf(change.cause.kind), change.cause.prefix.stringValue()});
}

template <RowForm form>
void printNames(bool isOfMatches, Output& output) {
   if (isOfMatches) {
      rowNames(output, form, {"query", "old", "old payload", "new", "new payload", "cause", "prefix"});
   } else {
      printChangeNames(form, output);
   }
}

void printMatchJson(const MatchChange& change, Output& output) {
   const auto json = [](const std::optional<Best>& best) {
      return best ? Json({{"prefix", std::string(best->prefix.stringValue())}, {"payload", best->payload}}) : Json();
   };
   jsonLine(output,
            {{"query", std::string(change.query.stringValue())},
             {"old", json(change.before)},
             {"new", json(change.after)},
             {"cause",
              {{"change", nameOf(change.cause.kind)}, {"prefix", std::string(change.cause.prefix.stringValue())}}}});
}

template <RowForm form>
void printRow(const Effect& effect, Output& output) {
   printChangeRow(effect, form, output);
}

void printNoNames(bool, Output&) {}

constexpr WatchFormat watchFormats[] = {
   {"text", "the change, the prefix, and its payload: OLD -> NEW where it is replaced", printNoNames, printText,
    printMatchText},
   {"tsv", "change, tab, prefix, tab, old payload, tab, new payload", printNames<RowForm::tsv>,
    printRow<RowForm::tsv>, printMatchRow<RowForm::tsv>},
   {"csv", "the same with commas, and the names of the columns first", printNames<RowForm::csv>,
    printRow<RowForm::csv>, printMatchRow<RowForm::csv>},
   {"json", "one object a line: change, prefix, old, new", printNoNames, printChangeJson, printMatchJson},
};

struct WatchOptions : LoadOptions {
   std::string format = std::string(watchFormats[0].name);
   bool isPublications = false;
   std::vector<std::string> matches;
};

// The trie of one family, and what it publishes: "IPv4 changedRoute none -> 10.0.0.0/8".
class WatchedTrie {
  public:
   explicit WatchedTrie(Corenet::AddressFamily af)
      : trie_(Routing::trieGenFactory(Corvid::String(familyName(af)), af)),
        type_(Corvid::Inspect::typeOf(*trie_).value()) {}

   Routing::TrieGen& trie() { return *trie_; }
   // From now on; not what was loaded before.
   void watch(Output& output) {
      watch_ =
         trie_->publisher()->subscribe([this, &output](const Corvid::Change& change) { print(output, change); });
   }

  private:
   // Names and values come from the reflected surface, so that an attribute that is added shows here, too.
   void print(Output& output, const Corvid::Change& change) const {
      for (const auto& field : type_.fields()) {
         if (field.id() == change.id) {
            const std::string now = Corvid::Inspect::get(*trie_, field.name()).text;
            output.format("{} {} {} -> {}\n", trie_->name().view(), field.name(), oldText(field.typeName(), change),
                          now);
            output.lineDone();
         }
      }
   }
   static std::string oldText(std::string_view type, const Corvid::Change& change) {
      if (type == "bool") {
         return *static_cast<const bool*>(change.oldValue) ? "true" : "false";
      }
      if (type == "Corenet::IpGenPrefix") {
         return static_cast<const Corenet::IpGenPrefix*>(change.oldValue)->stringValue();
      }
      return "an object";
   }

   const Corvid::Ptr<Routing::TrieGen> trie_;
   const Corvid::Inspect::Type type_;
   Corvid::Subscription watch_;
};

// The routes, with all that a kernel has at a prefix. What was loaded stays in the set that it was read to until it is
// touched; that set keeps its candidates.
class WatchedTable {
  public:
   WatchedTable(const RouteSet& loaded, const Selection& selection)
      : loaded_(loaded), routeTableNames_(selection.routeTableNames) {
      for (const auto af : families) {
         loaded.forEach(af, [&](const Corenet::IpGenPrefix& route) { trie(af).routeIs(route, true); });
      }
   }

   void watch(Output& output) {
      for (auto& each : tries_) {
         each.watch(output);
      }
   }

   Effect apply(const RouteUpdate& update) {
      auto& routes = routesAt(update.prefix);
      const auto before = answering(routes);
      if (update.isWithdrawal) {
         withdraw(routes, update);
      } else {
         add(routes, update);
      }
      const auto after = answering(routes);
      auto& engine = trie(update.prefix.af());
      if (before && !after) {
         engine.routeDel(update.prefix);
      } else if (after && !update.isWithdrawal) {
         // An addition of what is there already is published, too.
         engine.routeIs(update.prefix, true);
      }
      if (routes.empty() && loaded_.candidates(update.prefix).empty()) {
         touched_.erase(update.prefix);
      }
      return {kindOf(before, after), update.prefix, before, after};
   }

   // The longest route that covers it.
   std::optional<Best> best(const Corenet::IpGenPrefix& query) {
      const auto prefix = trie(query.af()).longestMatch(query);
      if (!routetrie::is_prefix(prefix)) {
         return std::nullopt;
      }
      const auto touched = touched_.find(prefix);
      return Best{prefix, touched != touched_.end() ? answering(touched->second).value_or("")
                                                    : std::string(loaded_.payload(prefix).value_or(""))};
   }

  private:
   // As in a Candidate. routeTable: its key.
   struct Route {
      std::string payload;
      std::string routeTable;
      Choice choice = Choice::lastLine;
      std::uint64_t rank = 0;
      bool answers = true;
   };

   Routing::TrieGen& trie(Corenet::AddressFamily af) { return tries_[af == Corenet::ipv6() ? 1 : 0].trie(); }

   std::vector<Route>& routesAt(const Corenet::IpGenPrefix& prefix) {
      const auto [place, isNew] = touched_.try_emplace(prefix);
      if (isNew) {
         for (const Candidate& route : loaded_.candidates(prefix)) {
            if (mayAnswer(route)) {
               place->second.push_back({std::string(route.payload), routeTableNames_.key(route.source), route.choice,
                                        route.rank, route.answers});
            }
         }
      }
      return place->second;
   }

   // Of a list, the last line has taken the place of those before it. What holds for some packets alone is no update's,
   // either.
   static bool mayAnswer(const Candidate& route) {
      return route.choice == Choice::lastLine ? route.chosen
                                              : route.answers || !routeAttributesOf(route.payload).isBound;
   }

   // The payload of the best route, of equal ones the first; none if there is none that answers.
   static std::optional<std::string> answering(const std::vector<Route>& routes) {
      const auto best = std::min_element(routes.begin(), routes.end(), [](const Route& a, const Route& b) {
         return std::tuple(!a.answers, a.choice, a.rank) < std::tuple(!b.answers, b.choice, b.rank);
      });
      return best == routes.end() || !best->answers ? std::nullopt : std::optional(best->payload);
   }

   // Whether the update may be about that route. A line of a list stands for a route of a metric that is not told.
   static bool isAbout(const RouteUpdate& update, const Route& route) {
      const U32 metric = metricOfRank(update.rank);
      switch (route.choice) {
         case Choice::lastLine: return metric == unsaidMetric(update.prefix.af());
         case Choice::metric: return route.routeTable == update.routeTable && metricOfRank(route.rank) == metric;
         case Choice::asPath: return false;
      }
      return false;
   }

   static void add(std::vector<Route>& routes, const RouteUpdate& update) {
      if (!update.isKernels) {
         routes.assign(1, {update.payload, "", Choice::lastLine, 0, true});
         return;
      }
      const Route route{update.payload, update.routeTable, Choice::metric, update.rank, update.answers};
      // A kernel has no two routes alike, and puts the new one in the place of the first with its metric.
      auto there = std::find_if(routes.begin(), routes.end(), [&](const Route& each) {
         return isAbout(update, each) && each.payload == update.payload;
      });
      if (there == routes.end()) {
         there = std::find_if(routes.begin(), routes.end(), [&](const Route& each) { return isAbout(update, each); });
      }
      if (there != routes.end()) {
         *there = route;
      } else {
         routes.push_back(route);
      }
   }

   // Of several routes of a metric, the one by other next hops is not that one. Of an IPv6 route, a kernel can withdraw one
   // next hop and leave the others.
   static void withdraw(std::vector<Route>& routes, const RouteUpdate& update) {
      if (!update.isKernels) {
         routes.clear();
         return;
      }
      const auto hops = hopsIn(update.payload);
      std::erase_if(routes, [&](Route& each) {
         const auto its = hopsIn(each.payload);
         if (!isAbout(update, each)) {
            return false;
         }
         if (update.prefix.af() == Corenet::ipv6() && !hops.empty() && its.size() > hops.size()) {
            takeHop(each.payload, hops);
            return false;
         }
         return hops.empty() || its.empty() || hops == its;
      });
   }

   // Takes the next hop by that gateway and device off a payload that has several.
   static void takeHop(std::string& payload, const std::vector<std::string_view>& hop) {
      constexpr std::string_view begin = " nexthop ";
      for (auto at = payload.find(begin); at != std::string::npos;) {
         const auto next = payload.find(begin, at + 1);
         if (hopsIn(std::string_view(payload).substr(at, next - at)) == hop) {
            payload.erase(at, next - at);
            return;
         }
         at = next;
      }
   }

   // The gateways and devices, which tell a route from another of its metric.
   static std::vector<std::string_view> hopsIn(std::string_view payload) {
      std::vector<std::string_view> hops;
      for (auto word = takeWord(payload); !word.empty(); word = takeWord(payload)) {
         if (word == "via" || word == "dev") {
            const auto value = takeWord(payload);
            hops.push_back(value == "inet" || value == "inet6" ? takeWord(payload) : value);
         }
      }
      return hops;
   }

   static ChangeKind kindOf(const std::optional<std::string>& before, const std::optional<std::string>& after) {
      if (!before) {
         return after ? ChangeKind::add : ChangeKind::absent;
      }
      return !after ? ChangeKind::remove : *before == *after ? ChangeKind::same : ChangeKind::replace;
   }

   const RouteSet& loaded_;
   const RouteTableNames routeTableNames_;
   std::array<WatchedTrie, 2> tries_ = {WatchedTrie(Corenet::ipv4()), WatchedTrie(Corenet::ipv6())};
   std::map<Corenet::IpGenPrefix, std::vector<Route>> touched_;
};

// What is watched with --match, and what answers each at the moment. Of an update, only those under its prefix are looked at.
class WatchedMatches {
  public:
   // Raises UsageError if a text is no address and no prefix.
   WatchedMatches(const std::vector<std::string>& texts, WatchedTable& table) : table_(table) {
      for (const std::string& text : texts) {
         try {
            const auto query = prefixOfText(text);
            watched_.insert_or_assign(query, table.best(query));
         } catch (const BadText& fault) {
            throw UsageError(fault.what());
         }
      }
   }
   bool empty() const { return watched_.empty(); }

   // Calls each(MatchChange) for those that the change of a route has changed.
   template <class Each>
   void update(const Effect& cause, Each&& each) {
      for (const auto& [query, before] : watched_.covered(cause.prefix)) {
         auto after = table_.best(query);
         if (after != before) {
            each(MatchChange{query, before, after, cause});
            watched_.insert_or_assign(query, std::move(after));
         }
      }
   }

  private:
   WatchedTable& table_;
   routetrie::table<std::optional<Best>> watched_;
};

// Lines that were passed over are no faults, but whoever waits for one of them wants to know.
void tellPassedOver(const UpdateLines& lines) {
   const auto tell = [](std::uint64_t count, std::string_view what) {
      if (count != 0) {
         say(fmt::format("<stdin>: passed over {} {}", grouped(count), what));
      }
   };
   if (const LeftOut& others = lines.otherTables(); others.count() != 0) {
      tell(others.count(),
           fmt::format("of other routing tables: {}; --route-table takes one of them, or all", others.names()));
   }
   tell(lines.forSomePackets(), "of routes for some packets alone");
   tell(lines.otherObjects(), "of links, addresses, neighbours and other objects");
}

ExitStatus run(const WatchOptions& options, Session& session) {
   session.checkStandardInput(options, StandardInput::updates);
   const WatchFormat& format = rowNamed(std::span<const WatchFormat>(watchFormats), "format", options.format);
   RouteSet routes;
   routes.candidatesAreKept();
   std::uint64_t faults = loadTables(options, routes).faults;
   const std::uint64_t tableFaults = faults;
   const Selection selection = selectionOf(options);
   WatchedTable table(routes, selection);
   WatchedMatches matches(options.matches, table);
   Output output(STDOUT_FILENO);
   if (!options.isPublications) {
      format.begin(!matches.empty(), output);
   }
   if (options.isPublications) {
      table.watch(output);
   }
   std::uint64_t applied = 0;
   UpdateLines lines(selection, [&](const RouteUpdate& update) {
      const Effect effect = table.apply(update);
      ++applied;
      if (!matches.empty()) {
         matches.update(effect, [&](const MatchChange& change) {
            format.printMatch(change, output);
            output.lineDone();
         });
      } else if (!options.isPublications) {
         format.print(effect, output);
         output.lineDone();
      }
   });

   // Whoever writes the updates may wait for what they do.
   const auto source = descriptorSource(STDIN_FILENO, "<stdin>", [&] {
      lines.flush();
      output.flush();
   });
   LineReader reader(*source, [&](std::uint64_t number, const std::string& what) {
      ++faults;
      say(fmt::format("<stdin>:{}: {}", number, what));
   });
   while (const auto line = reader.next()) {
      try {
         lines.line(*line);
      } catch (const BadText& fault) {
         ++faults;
         say(fmt::format("<stdin>:{}: {}", reader.lineNumber(), fault.what()));
      }
   }
   lines.flush();
   output.flush();
   tellPassedOver(lines);
   return exitStatusOf(faults, applied != 0 || faults == tableFaults);
}

}  // namespace

Run addWatch(CLI::App& app) {
   auto options = std::make_shared<WatchOptions>();
   addLoadOptions(app, *options);
   addFormatOption(app, options->format, "How changes are printed");
   auto* const matches =
      app.add_option(
            "--match", options->matches,
            "Print only when another route answers one of these, or with another payload: what answered before, what "
            "does now, and which change is the cause")
         ->type_name("ADDRESS|PREFIX ...");
   app.add_flag("--publications", options->isPublications,
                "Print what the trie tells its watchers, attribute by attribute, instead of the changes of routes")
      ->excludes("--format")
      ->excludes(matches);
   app.footer(
      helpSection(
         "Updates, one a line of standard input",
         "  + PREFIX PAYLOAD, TIME a PREFIX PAYLOAD   add the route, or replace its payload\n"
         "  - PREFIX, TIME w PREFIX                   take it away\n"
         "  what ip monitor route prints              as a kernel does, which takes the lowest metric; of IPv4\n"
         "                                            routes that go with a device, it tells nothing\n") +
      "\n" +
      helpSection("Answers, one a line of standard output",
                  "  add, replace, delete   the route that answers for the prefix is another now\n"
                  "  same                   it is the one that it was\n"
                  "  absent                 there was none to take away\n") +
      "\n" + helpSection("Formats", summariesOf(std::span<const WatchFormat>(watchFormats))) + "\n" +
      helpSection("Examples",
                  "  ip monitor route | rtrie watch --table <(ip route show table all) --match 192.0.2.1\n"
                  "  echo '+ 192.0.2.0/24 via 198.51.100.1' | rtrie watch --table routes.txt\n"
                  "  ip monitor route | rtrie watch --table <(ip route show table all)\n"
                  "  ip monitor route | rtrie watch --table <(ip route show table all) --route-table 100"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
