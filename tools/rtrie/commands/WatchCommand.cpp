#include "tools/rtrie/commands/WatchCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/trie/front/TrieGen.h"
#include "tools/rtrie/LineReader.h"
#include "tools/rtrie/Messages.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/PrefixText.h"
#include "tools/rtrie/TableLoader.h"
#include "tools/rtrie/TableSet.h"
#include "tools/rtrie/Words.h"

namespace Rtrie {
namespace {

struct WatchOptions {
   std::vector<std::string> tables;
   bool strict = false;
};

// The trie of one family, whose publications go to the output: "IPv4 changedRoute none -> 10.0.0.0/8".
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

struct Update {
   bool isWithdrawal;
   Corenet::IpGenPrefix prefix;
};

// "+ PREFIX" or "- PREFIX", or "TIME a PREFIX ..." or "TIME w PREFIX ...". Raises BadText.
Update updateOf(std::string_view line) {
   const std::string_view whole = line;
   std::string_view kind = takeWord(line);
   const bool hasTime = kind != "+" && kind != "-";
   if (hasTime) {
      kind = takeWord(line);
   }
   const bool isWithdrawal = kind == (hasTime ? "w" : "-");
   if (!isWithdrawal && kind != (hasTime ? "a" : "+")) {
      throw BadText(
         fmt::format("not an update, known are \"+ PREFIX\", \"- PREFIX\", \"TIME a PREFIX\" and "
                     "\"TIME w PREFIX\": \"{}\"",
                     whole));
   }
   const std::string_view prefix = takeWord(line);
   if (!hasTime && !trimmed(line).empty()) {
      throw BadText(fmt::format("more than a prefix: \"{}\"", whole));
   }
   return {isWithdrawal, prefixOfText(prefix)};
}

ExitStatus run(const WatchOptions& options) {
   for (const auto& table : options.tables) {
      if (table == "-") {
         throw UsageError("standard input holds the updates, and can't be the table");
      }
   }
   RouteSet routes;
   std::uint64_t faults = loadTables(options.tables, options.strict, routes).faults;
   std::array<WatchedTrie, 2> tries = {WatchedTrie(Corenet::ipv4()), WatchedTrie(Corenet::ipv6())};
   const auto trieOf = [&](Corenet::AddressFamily af) -> WatchedTrie& {
      return tries[af == Corenet::ipv6() ? 1 : 0];
   };
   Output output(STDOUT_FILENO);
   for (const auto af : families) {
      routes.forEach(af, [&](const Corenet::IpGenPrefix& route) { trieOf(af).trie().routeIs(route, true); });
      trieOf(af).watch(output);
   }

   // Whoever writes the updates may wait for what they do.
   const auto source = descriptorSource(STDIN_FILENO, "<stdin>", [&] { output.flush(); });
   LineReader reader(*source);
   while (const auto line = reader.next()) {
      const auto text = withoutComment(trimmed(*line));
      if (text.empty()) {
         continue;
      }
      try {
         const Update update = updateOf(text);
         Routing::TrieGen& trie = trieOf(update.prefix.af()).trie();
         if (update.isWithdrawal) {
            trie.routeDel(update.prefix);
         } else {
            trie.routeIs(update.prefix, true);
         }
      } catch (const BadText& fault) {
         ++faults;
         say(fmt::format("<stdin>:{}: {}", reader.lineNumber(), fault.what()));
      }
   }
   output.flush();
   return faults == 0 ? ExitStatus::ok : ExitStatus::badData;
}

}  // namespace

Run addWatch(CLI::App& app) {
   auto options = std::make_shared<WatchOptions>();
   app.add_option("--table", options->tables, "A table of routes, plain or .gz. Can be given again")
      ->type_name("FILE")
      ->allow_extra_args(false)
      ->required();
   app.add_flag("--strict", options->strict, "Stop at the first bad line of a table");
   app.footer(helpSection("Updates, one a line of standard input",
                          "  + PREFIX, TIME a PREFIX ...   add the route\n"
                          "  - PREFIX, TIME w PREFIX ...   take it away") +
              "\n" + helpSection("Example", "  echo '+ 192.0.2.0/24' | rtrie watch --table routes.txt"));
   return [options] { return run(*options); };
}

}  // namespace Rtrie
