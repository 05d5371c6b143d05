// Workload: endless random ops whose prefixes lie close together, so that routes nest, keys part and leaves go often.
// The same seed gives the same ops on every machine.
//
//    nested      a few addresses, each with routes of all lengths: deep paths
//    clustered   the last bits of a few stems vary: bushes of splits and merges
//    lengthy     as clustered, behind stems as long as they can be: IPv6 keys that share records
//    scattered   addresses anywhere, lengths as they are on the Internet
#pragma once

#include <cstdint>
#include <ostream>
#include <random>
#include <string_view>
#include <vector>

#include "tests/property/Ops.h"

namespace Property {

struct Mix {
   std::string_view name;
   unsigned stems;         // addresses that prefixes are taken from
   U32 lowLength[2];       // shortest prefix, in bits: IPv4, IPv6
   U32 highLength[2];      // longest
   unsigned loosePercent;  // prefixes with random bits in their last eight
   std::size_t routes;     // how many routes the table hovers at
};

inline void PrintTo(const Mix& mix, std::ostream* out) { *out << mix.name; }

inline constexpr Mix mixes[] = {
   {"nested", 6, {1, 1}, {32, 128}, 15, 60},     {"clustered", 12, {6, 28}, {14, 42}, 90, 250},
   {"lengthy", 5, {22, 54}, {32, 128}, 60, 120}, {"scattered", 400, {8, 19}, {26, 64}, 30, 300},
   {"handful", 2, {1, 50}, {6, 66}, 80, 8},
};

class Workload {
  public:
   Workload(Corenet::AddressFamily family, const Mix& mix, std::uint64_t seed)
      : family_(family), mix_(mix), random_(seed) {
      for (unsigned i = 0; i < mix.stems; ++i) {
         std::array<U8, 16> bytes;
         for (U8& byte : bytes) {
            byte = static_cast<U8>(below(256));
         }
         stems_.push_back(bytes);
      }
   }

   Ops ops(std::size_t count) {
      Ops list;
      list.reserve(count);
      while (list.size() < count) {
         list.push_back(op());
      }
      return list;
   }

   Op op() {
      const bool isFull = table_.size() >= mix_.routes;
      const U32 dice = below(100);
      if (dice < (isFull ? 15U : 40U)) {
         const auto p = !table_.empty() && below(8) == 0 ? known() : fresh();
         if (std::find(table_.begin(), table_.end(), p) == table_.end()) {
            table_.push_back(p);
         }
         return {Op::add, p};
      }
      if (dice < 60) {
         const auto p = table_.empty() || below(5) == 0 ? nearMiss() : known();
         std::erase(table_, p);
         return {Op::remove, p};
      }
      return {Op::ask, nearMiss()};
   }

   // A prefix of the mix; now and then the default route.
   IpGenPrefix fresh() {
      if (below(200) == 0) {
         return prefixOf(family_, {}, 0);
      }
      const unsigned i = family_ == Corenet::ipv4 ? 0 : 1;
      const U32 length = mix_.lowLength[i] + below(mix_.highLength[i] - mix_.lowLength[i] + 1);
      auto bytes = stems_[below(static_cast<U32>(stems_.size()))];
      if (below(100) < mix_.loosePercent) {
         scramble(bytes, length > 8 ? length - 8 : 0, length);
      }
      return prefixOf(family_, bytes, length);
   }

   // A route that is there (very likely), or what lies just outside or inside one: a bit longer or shorter, one bit
   // turned round, or a whole address.
   IpGenPrefix nearMiss() {
      if (table_.empty() || below(6) == 0) {
         return fresh();
      }
      const IpGenPrefix p = known();
      const U32 width = widthOf(family_);
      switch (below(5)) {
         case 0: return p;
         case 1: return p.len() == 0 ? p : cut(p, below(p.len() + 1U));
         case 2: return p.len() == 0 ? p : flipped(p, p.len() - 1 - below(std::min<U32>(p.len(), 3)));
         case 3: return extended(p, std::min(width, p.len() + 1 + below(3)));
         default: return extended(p, width);
      }
   }

   // 0 to `limit` - 1.
   U32 below(U32 limit) { return static_cast<U32>(random_() % limit); }

  private:
   IpGenPrefix known() { return table_[below(static_cast<U32>(table_.size()))]; }
   void scramble(std::array<U8, 16>& bytes, U32 from, U32 to) {
      for (U32 n = from; n < to; ++n) {
         bytes[n / 8] = static_cast<U8>(bytes[n / 8] ^ (below(2) != 0 ? 0x80U >> n % 8 : 0U));
      }
   }
   IpGenPrefix extended(const IpGenPrefix& p, U32 length) {
      auto bytes = bytesOf(p);
      scramble(bytes, p.len(), length);
      return prefixOf(family_, bytes, length);
   }

   const Corenet::AddressFamily family_;
   const Mix mix_;
   std::mt19937_64 random_;
   std::vector<std::array<U8, 16>> stems_;
   PrefixList table_;  // the routes that the ops so far leave behind
};

}  // namespace Property
