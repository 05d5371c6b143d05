// WatchedTable: a table that updates change, and what answers before and after each of them.
//
// At a prefix stands all that the tables had there, so that the next best shows when the one that answers goes. What was loaded
// stays in the set that it was read to until it is touched.
//
// WatchedMatches: queries, and what answers each at the moment. Of an update, only those under its prefix are looked at.
//
// Tested by tests/tools/rtrie/WatchTest.cpp and tests/tools/kernel/KernelWatchTest.cpp.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "routetrie/table.h"
#include "tools/rtrie/ChangeFormat.h"
#include "tools/rtrie/RouteUpdate.h"
#include "tools/rtrie/WatchedTrie.h"
#include "tools/tables/RouteSet.h"
#include "tools/tables/Selection.h"

namespace Rtrie {

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

class WatchedTable {
  public:
   // Requires: a sealed set that keeps its candidates.
   WatchedTable(std::unique_ptr<RouteSet> loaded, const Selection& selection);

   // From now on.
   void watch(Output& output);

   using Tell = std::function<void(const Effect& effect)>;

   Effect apply(const RouteUpdate& update);
   // Whether the last update has left it open what the kernel has: it does not tell which of several IPv6 routes of one metric
   // goes, or stands first, where one leads elsewhere than by gateways.
   bool isInDoubt() const { return isInDoubt_; }
   // Takes away all that this source offers, or those that are named by it, a blank and more; tells of each prefix where it
   // did, in ascending order, as soon as it is done.
   void lose(std::string_view source, const Tell& tell);
   // These routes are all there are from now on; tells what has changed in the same way. Requires: as the constructor.
   void become(std::unique_ptr<RouteSet> routes, const Tell& tell);

   // The longest route that covers it.
   std::optional<Best> best(const Corenet::IpGenPrefix& query);

  private:
   // As in a Candidate. source: of a kernel's route, the key of its routing table.
   struct Route {
      std::string payload;
      std::string source;
      Choice choice = Choice::lastLine;
      std::uint64_t rank = 0;
      bool answers = true;
   };
   using Routes = std::vector<Route>;

   Routing::TrieGen& trie(Corenet::AddressFamily af) { return tries_[af == Corenet::ipv6() ? 1 : 0].trie(); }
   Routes& routesAt(const Corenet::IpGenPrefix& prefix);
   Effect changed(const Corenet::IpGenPrefix& prefix, const std::optional<std::string>& before,
                  const std::optional<std::string>& after, bool isWithdrawal);
   void forgetIfEmpty(const Corenet::IpGenPrefix& prefix);

   static std::optional<std::string> answering(const Routes& routes);
   static bool isAbout(const RouteUpdate& update, const Route& route);
   static void add(Routes& routes, const RouteUpdate& update);
   static void place(Routes& routes, const RouteUpdate& update, Route route);
   static void withdraw(Routes& routes, const RouteUpdate& update);

   std::unique_ptr<RouteSet> loaded_;
   const RouteTableNames routeTableNames_;
   std::array<WatchedTrie, 2> tries_ = {WatchedTrie(Corenet::ipv4()), WatchedTrie(Corenet::ipv6())};
   std::map<Corenet::IpGenPrefix, Routes> touched_;
   bool isInDoubt_ = false;
};

class WatchedMatches {
  public:
   // Raises UsageError if a text is no address and no prefix. The table must outlive this.
   WatchedMatches(const std::vector<std::string>& texts, WatchedTable& table);

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

}  // namespace Rtrie
