// SlowTable: the oracle of every engine, a list of routes that each question scans in full, so that a reader can see
// by eye that its answers are right. All prefixes are of one family; a change tells whether there was one.
// Tested by tests/property/SlowTableTest.cpp against answers worked out by hand.
#pragma once

#include <algorithm>
#include <optional>
#include <vector>

#include "tests/property/PrefixBits.h"

namespace Property {

using MaybePrefix = std::optional<IpGenPrefix>;
using PrefixList = std::vector<IpGenPrefix>;

class SlowTable {
  public:
   bool add(const IpGenPrefix& p) { return !exact(p) && (routes_.push_back(p), true); }
   bool remove(const IpGenPrefix& p) { return std::erase(routes_, p) != 0; }
   std::size_t size() const { return routes_.size(); }

   bool exact(const IpGenPrefix& p) const { return std::find(routes_.begin(), routes_.end(), p) != routes_.end(); }
   MaybePrefix longestMatch(const IpGenPrefix& p) const { return last(covering(p)); }
   MaybePrefix parent(const IpGenPrefix& p) const { return last(those(isAbove, p)); }
   bool longer(const IpGenPrefix& p) const { return !those(p, isAbove).empty(); }

   // Lists are by address, then length, so that a route stands before those beneath it.
   PrefixList ordered() const { return sorted(routes_); }
   MaybePrefix next(const IpGenPrefix& p) const { return first(those(p, isBefore)); }
   // The routes that cover p and those that it covers; p itself is in both.
   PrefixList covering(const IpGenPrefix& p) const { return those(covers, p); }
   PrefixList subtree(const IpGenPrefix& p) const { return those(p, covers); }
   // The routes beneath p that have no other route between them and p.
   PrefixList children(const IpGenPrefix& p) const {
      PrefixList found = those(p, isAbove);
      std::erase_if(found, [&](auto& r) { return parent(r) && isAbove(p, *parent(r)); });
      return found;
   }

  private:
   // The routes that stand in the relation to p, and those that p stands in it to.
   PrefixList those(Relation relation, const IpGenPrefix& p) const {
      PrefixList found = routes_;
      std::erase_if(found, [&](auto& r) { return !relation(r, p); });
      return sorted(found);
   }
   PrefixList those(const IpGenPrefix& p, Relation relation) const {
      PrefixList found = routes_;
      std::erase_if(found, [&](auto& r) { return !relation(p, r); });
      return sorted(found);
   }
   static PrefixList sorted(PrefixList list) { return std::sort(list.begin(), list.end()), list; }
   static MaybePrefix first(const PrefixList& list) { return list.empty() ? MaybePrefix() : list.front(); }
   static MaybePrefix last(const PrefixList& list) { return list.empty() ? MaybePrefix() : list.back(); }

   PrefixList routes_;
};

}  // namespace Property
