// ChangeTimes: when the routes of prefixes changed last, as streams of updates tell it: BGP messages in MRT, or lines as `watch`
// reads them where they have times ("1700000000 a 10.0.0.0/8", what `ip -ts monitor route` and `ip -t monitor route` print).
//
// Whoever's route it is, an announcement or a withdrawal changes the prefix; the end of a peer's session changes all prefixes that
// the peer has announced before it in the stream.
// Tested by tests/tools/rtrie/map/ChangeTimesTest.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>

#include "routetrie/platform/Corenet.h"
#include "tools/tables/ByteSource.h"
#include "tools/tables/RouteSet.h"
#include "tools/tables/Selection.h"

namespace Rtrie {

class ChangeTimes {
  public:
   // seconds: since the epoch, or any other beginning that all of them have.
   void changed(const Corenet::IpGenPrefix& prefix, std::int64_t seconds);

   bool empty() const { return times_.empty(); }
   std::size_t prefixes() const { return times_.size(); }
   // Of the last change. Requires: there is one.
   std::int64_t lastSeconds() const { return last_.value(); }
   std::optional<std::int64_t> secondsOf(const Corenet::IpGenPrefix& prefix) const;

   // Calls each(IpGenPrefix, seconds), in no order.
   template <class Each>
   void forEach(Each&& each) const {
      for (const auto& [prefix, seconds] : times_) {
         each(prefix, seconds);
      }
   }

  private:
   std::unordered_map<Corenet::IpGenPrefix, std::int64_t> times_;
   std::optional<std::int64_t> last_;
};

// What is wrong with a record or a line.
using TellFault = std::function<void(const std::string& what)>;
// Called now and then with how many records or lines are read; may raise what ends the reading.
using TellCount = std::function<void(std::uint64_t count)>;

// Whether the source begins as a stream of changes, MRT tables included, and not as any other table.
bool holdsChanges(PeekedSource& source);

// Reads all changes of such a source. The routes of MRT tables have no time of their own, and go to the set. Raises DataError if
// the source cannot be read at all.
void readChanges(PeekedSource& source, const Selection& selection, ChangeTimes& changes, RouteSet& routes,
                 const TellFault& tell, const TellCount& count = nullptr);

}  // namespace Rtrie
