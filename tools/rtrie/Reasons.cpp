#include "tools/rtrie/Reasons.h"

#include <algorithm>
#include <numeric>

namespace Rtrie {
namespace {

// Why an offer lost to the one that answers for its prefix.
std::string_view whyLost(const Candidate& offer, const Candidate& best) {
   if (offer.choice != best.choice) {
      return best.choice == Choice::lastLine ? "not taken: a list corrects it"
                                             : "not taken: a kernel's route goes before it";
   }
   switch (offer.choice) {
      case Choice::lastLine: return "not taken: a later line of its prefix took its place";
      case Choice::metric:
         return offer.rank > best.rank ? "not taken: one of its prefix has a lower metric or a better preference"
                                       : "not taken: one of its prefix and metric stands before it";
      case Choice::asPath:
         return offer.rank > best.rank ? "not taken: one of its prefix has a shorter AS path"
                                       : "not taken: one of its prefix and path length stands before it";
   }
   return {};
}

constexpr std::string_view whyBound =
   "not taken: it holds for one source or type of service alone, or its next hops are dead";

}  // namespace

std::string_view Reasons::nameOf(Verdict verdict) {
   switch (verdict) {
      case Verdict::taken: return "taken";
      case Verdict::shorter: return "shorter";
      case Verdict::lost: return "lost";
      case Verdict::bound: return "bound";
   }
   return {};
}

const Reasons::Candidate* Reasons::taken() const {
   const auto found = std::find_if(candidates.begin(), candidates.end(),
                                   [](const Candidate& each) { return each.verdict == Verdict::taken; });
   return found == candidates.end() ? nullptr : &*found;
}

std::size_t Reasons::readBytes() const {
   return std::accumulate(reads.begin(), reads.end(), std::size_t{0},
                          [](std::size_t sum, const routetrie::lookup_read& read) { return sum + read.bytes; });
}

Reasons reasonsFor(const Corenet::IpGenPrefix& query, const PayloadTable& table, const RouteSet& routes) {
   const auto explained = table.routes().explain(query);
   Reasons reasons{query, {}, explained.reads};
   auto next = explained.candidates.begin();
   for (unsigned length = 0; length <= query.len(); ++length) {
      const auto prefix = routetrie::make_prefix(query.address(), length, routetrie::host_bits::cut);
      std::vector<Candidate> offers = routes.candidates(prefix);
      if (next != explained.candidates.end() && next->route.prefix == prefix) {
         const auto verdict =
            next->why == routetrie::verdict::taken ? Reasons::Verdict::taken : Reasons::Verdict::shorter;
         reasons.candidates.push_back({prefix, table.text(next->route.value), verdict, describe(next->why)});
         ++next;
      }
      for (const Candidate& offer : offers) {
         if (!offer.answers) {
            reasons.candidates.push_back({prefix, offer.payload, Reasons::Verdict::bound, whyBound});
         } else if (!offer.chosen) {
            reasons.candidates.push_back(
               {prefix, offer.payload, Reasons::Verdict::lost, whyLost(offer, offers.front())});
         }
      }
   }
   return reasons;
}

}  // namespace Rtrie
