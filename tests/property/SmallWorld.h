// SmallWorld: the 31 prefixes of addresses of four bits, and every set of up to three of them, added in every order and
// removed in every order (see removalsOf), with every question after each step.
//
// The four bits stand at a place of an address, behind fixed bits; at place 0 the shortest prefix is the default route.
//
// An engine that can tell its shape is asked once for each shape, unless ROUTETRIE_FULL=1; its soundness is checked at
// each step all the same.
// Used by tests/property/EngineTests.h.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <map>
#include <string>
#include <unordered_set>
#include <vector>

#include "tests/property/Ops.h"
#include "tests/property/Scale.h"

namespace Property {

// Sets of up to so many routes, in the world at this place: three at each place only at full size, and a sanitizer has time for
// pairs only.
inline std::size_t largestSet(U32 offset) { return sized<std::size_t>(2, offset == 0 ? 3 : 2, 3); }

// In how many orders a set of so many, once added in an order, is removed: in all, but for sets of three, which is so at full size at the
// first place alone, where not each way is asked. Elsewhere it is one for each order of adding, so that all six come up.
inline std::size_t removalsOf(std::size_t size, U32 offset, bool asksEachTime) {
   return size == 3 ? (isFull() && offset == 0 && !asksEachTime ? 6 : 1) : size;
}

template <Engine E>
class SmallWorld {
  public:
   static constexpr U32 worldBits = 4;

   // A shape that was met before is asked again if `asksEachTime`.
   SmallWorld(U32 offset, bool asksEachTime)
      : offset_(offset), largest_(largestSet(offset)), asksEachTime_(asksEachTime) {
      for (U32 length = 0; length <= worldBits; ++length) {
         for (U32 value = 0; value < (1U << length); ++value) {
            prefixes_.push_back(prefixAt(offset, length, value));
         }
      }
      questions_ = prefixes_;
      const U32 width = widthOf(E::family);
      for (const U32 length : {0U, 1U, offset > 0 ? offset - 1 : 0}) {
         questions_.push_back(cut(prefixes_[0], length));
      }
      if (offset > 0) {
         questions_.push_back(flipped(prefixes_[1], offset - 1));
         questions_.push_back(flipped(prefixes_[1], 0));
      }
      for (U32 value = 0; value < 16 && offset + worldBits < width; ++value) {
         const auto p = prefixAt(offset, worldBits, value);
         questions_.push_back(cut(p, p.len() + 1U));
         questions_.push_back(flipped(cut(p, width), width - 1));
      }
   }

   // The first fault with the ops that lead to it, or nothing.
   std::string run() {
      for (std::size_t size = 1; size <= largest_ && fault_.empty(); ++size) {
         std::vector<std::size_t> chosen;
         addEach(size, chosen);
      }
      return fault_;
   }
   std::size_t states() const { return states_; }
   std::size_t shapes() const { return shapes_.size(); }

  private:
   using Chosen = std::vector<std::size_t>;  // indices into prefixes_, in the order of adding

   // Bits before the world are such that neighbours differ; bit 0 is 1.
   static IpGenPrefix prefixAt(U32 offset, U32 length, U32 value) {
      std::array<U8, 16> bytes;
      for (std::size_t i = 0; i < bytes.size(); ++i) {
         bytes[i] = static_cast<U8>(0xa6 + 37 * i);
      }
      bytes = bytesOf(prefixOf(Corenet::ipv6, bytes, offset));
      for (U32 n = 0; n < length; ++n) {
         if ((value >> (length - 1 - n) & 1) != 0) {
            bytes[(offset + n) / 8] = static_cast<U8>(bytes[(offset + n) / 8] | 0x80U >> (offset + n) % 8);
         }
      }
      return prefixOf(E::family, bytes, offset + length);
   }

   void addEach(std::size_t size, Chosen& chosen) {
      if (chosen.size() == size) {
         removeInEveryOrder(chosen);
         return;
      }
      for (std::size_t i = 0; i < prefixes_.size() && fault_.empty(); ++i) {
         if (std::find(chosen.begin(), chosen.end(), i) == chosen.end()) {
            chosen.push_back(i);
            addEach(size, chosen);
            chosen.pop_back();
         }
      }
   }

   void removeInEveryOrder(const Chosen& chosen) {
      ops_.clear();
      {
         E engine;
         addAll(engine, chosen);
         check(engine, maskOf(chosen));
      }
      Chosen order = chosen;
      const bool inOneOrder = removalsOf(chosen.size(), offset_, asksEachTime_) == 1;
      if (inOneOrder) {
         std::rotate(order.begin(), order.begin() + 1, order.end());
      } else {
         std::sort(order.begin(), order.end());
      }
      do {
         ops_.clear();
         E engine;
         addAll(engine, chosen);
         U32 mask = maskOf(chosen);
         for (const std::size_t i : order) {
            ops_.push_back({Op::remove, prefixes_[i]});
            if (!engine.remove(prefixes_[i])) {
               fail("remove: found no");
            }
            mask &= stays(prefixes_[i]) ? ~0U : ~(1U << i);
            check(engine, mask);
         }
      } while (!inOneOrder && fault_.empty() && std::next_permutation(order.begin(), order.end()));
   }

   void addAll(E& engine, const Chosen& chosen) {
      for (const std::size_t i : chosen) {
         ops_.push_back({Op::add, prefixes_[i]});
         engine.add(prefixes_[i]);
      }
   }

   static bool stays(const IpGenPrefix& p) { return E::habits.defaultStays && p.len() == 0; }
   static U32 maskOf(const Chosen& chosen) {
      U32 mask = 0;
      for (const std::size_t i : chosen) {
         mask |= 1U << i;
      }
      return mask;
   }

   void check(E& engine, U32 mask) {
      ++states_;
      fail(engine.audit());
      if (engine.routes() != static_cast<std::size_t>(std::popcount(mask))) {
         fail("routes: found " + std::to_string(engine.routes()));
      }
      if (isNewShape(engine)) {
         const Known& known = knownOf(mask);
         for (std::size_t i = 0; i < questions_.size() && fault_.empty(); ++i) {
            fail(faultAt(engine, questions_[i], known.answers[i]));
            fail(listFaultAt(engine, questions_[i], known.table));
         }
         changeNothing(engine, mask);
      }
   }

   // Adds what is there and removes what is not.
   void changeNothing(E& engine, U32 mask) {
      for (std::size_t i = 0; i < prefixes_.size() && fault_.empty(); ++i) {
         if ((mask >> i & 1) != 0) {
            engine.add(prefixes_[i]);
         } else if (engine.remove(prefixes_[i]) != (E::habits.removeOfDefaultIsTrue && prefixes_[i].len() == 0)) {
            fail("remove of the absent " + textOf(MaybePrefix(prefixes_[i])));
         }
      }
      fail(engine.audit());
      if (engine.routes() != static_cast<std::size_t>(std::popcount(mask))) {
         fail("adding what is there and removing what is not changed routes()");
      }
   }

   bool isNewShape(const E& engine) {
      if constexpr (requires { engine.shape(); }) {
         return shapes_.insert(engine.shape()).second || asksEachTime_;
      }
      return true;
   }

   // What the oracle says of a set of routes.
   struct Known {
      SlowTable table;
      std::vector<Answers> answers;  // to each of questions_
   };
   const Known& knownOf(U32 mask) {
      auto [place, isNew] = known_.try_emplace(mask);
      Known& known = place->second;
      if (isNew) {
         for (std::size_t i = 0; i < prefixes_.size(); ++i) {
            if ((mask >> i & 1) != 0) {
               known.table.add(prefixes_[i]);
            }
         }
         for (const auto& p : questions_) {
            known.answers.emplace_back(known.table, p);
         }
      }
      return known;
   }

   void fail(const std::string& fault) {
      if (fault_.empty() && !fault.empty()) {
         fault_ = fault + "\nafter " + textOf(ops_);
      }
   }

   PrefixList prefixes_;
   PrefixList questions_;
   const U32 offset_;
   const std::size_t largest_;
   const bool asksEachTime_;
   std::map<U32, Known> known_;  // by the set of routes, a bit each
   std::unordered_set<std::string> shapes_;
   std::size_t states_ = 0;
   Ops ops_;
   std::string fault_;
};

}  // namespace Property
