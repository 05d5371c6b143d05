// PrefixFilter: whether some prefix lies under another or over it: "no" for certain, or "maybe", by one or a few words of memory and
// no search. It is what lets an update pass by a million watches that it does not concern.
//
// A Bloom filter (Bloom 1970) whose bits lie in one word (Putze, Sanders, Singler 2007), over the prefixes and what they are when cut
// to some lengths, the steps. A prefix of another length is looked for at the step before, where what lies beside it answers for it,
// too: so the steps are close where most routes are, and few elsewhere, as each is an entry for each prefix.
//
//    what lies under p:   each prefix is put in at all steps up to its length; p is looked for at the last step up to its own
//    what is p:           each prefix is put in at the last step up to its length; p is looked for there
//    what lies over p:    the same; p is looked for at all steps
//
// Only steps are asked at which something was put in. Who watches /24s, say, is found by one word.
//
// A large filter has a small one before it, which a near cache has: a bit for the first 16 bits of an IPv4 prefix, 32 of an IPv6 one,
// whatever is longer. Watches mostly lie together.
//
// With 16 bits for each of them and three set, some 2 of 100 answers are "maybe" for nothing. Nothing is taken out: who fills it
// makes it anew when it is full.
// Tested by tests/table/PrefixFilterTest.cpp, tests/property/TableTrackedTest.cpp.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/prefix.h"

namespace routetrie::Impl {

class PrefixFilter {
   using U64 = std::uint64_t;

  public:
   // Room for so many prefixes at so many steps, at least. It is empty then.
   void reset(std::size_t entries) {
      const std::size_t words = std::bit_ceil(std::max<std::size_t>(8, (entries + entriesAWord - 1) / entriesAWord));
      auto near = words >= nearWords ? std::make_unique<U64[]>(nearWords) : nullptr;
      std::make_unique<U64[]>(words).swap(words_);
      near_ = std::move(near);
      shift_ = static_cast<unsigned>(64 - std::countr_zero(words));
      entries_ = 0;
      steps4Used_ = steps6Used_ = 0;
      room_ = words * entriesAWord;
   }
   bool isFull() const noexcept { return entries_ >= room_; }
   // Puts everything in anew, which fill() does, with room for about as much again. `entries` is how many it may be: prefixes that lie far
   // apart share few steps, and take more. What raises std::bad_alloc leaves it as it was, or with everything in.
   template <class Fill>
   void refill(std::size_t entries, const Fill& fill) {
      do {
         reset(2 * entries);
         fill();
         entries *= 2;
      } while (2 * entries_ > room_);
   }
   std::size_t bytes() const noexcept {
      return (room_ / entriesAWord + (near_ != nullptr ? nearWords : 0)) * sizeof(U64);
   }

   // Requires: reset() was called.
   template <any_prefix P>
   void addAllSteps(const P& p) noexcept {
      ofOneFamily(p, [this](const auto& q) {
         for (unsigned step = 0; step <= lastStep(q); ++step) {
            this->put(q, step);
         }
      });
   }
   template <any_prefix P>
   void addLastStep(const P& p) noexcept {
      ofOneFamily(p, [this](const auto& q) { this->put(q, lastStep(q)); });
   }
   template <any_prefix P>
   bool mayHaveLastStep(const P& p) const noexcept {
      bool may = false;
      if (words_ != nullptr) {
         ofOneFamily(p, [&](const auto& q) { may = has(q, lastStep(q)); });
      }
      return may;
   }
   template <any_prefix P>
   bool mayHaveAnyStep(const P& p) const noexcept {
      bool may = false;
      if (words_ != nullptr) {
         ofOneFamily(p, [&](const auto& q) {
            const std::uint32_t upTo = (std::uint32_t{2} << lastStep(q)) - 1;
            for (std::uint32_t rest = stepsUsed(q) & upTo; rest != 0; rest &= rest - 1) {
               may |= has(q, static_cast<unsigned>(std::countr_zero(rest)));
            }
         });
      }
      return may;
   }

  private:
   static constexpr std::size_t entriesAWord = 4;
   static constexpr std::size_t nearWords = 1024;  // for 16 bits

   template <class F>
   static void ofOneFamily(const prefix& p, F&& f) noexcept {
      p.af() == Corenet::AddressFamily::ipv4 ? f(p.v4Prefix()) : f(p.v6Prefix());
   }
   template <prefix_of_one_family P, class F>
   static void ofOneFamily(const P& p, F&& f) noexcept {
      f(p);
   }

   static constexpr std::array<std::uint8_t, 17> steps4{0,  4,  8,  12, 14, 15, 16, 17, 18,
                                                        19, 20, 21, 22, 23, 24, 28, 32};
   static constexpr std::array<std::uint8_t, 22> steps6{0,  8,  16, 20, 24, 28, 29, 30, 32, 34, 36,
                                                        38, 40, 42, 44, 46, 48, 56, 60, 64, 96, 128};
   // By length, the last step that is no longer.
   template <std::size_t lengths, std::size_t count>
   static constexpr std::array<std::uint8_t, lengths> lastSteps(const std::array<std::uint8_t, count>& steps) {
      std::array<std::uint8_t, lengths> last{};
      for (std::size_t length = 0, step = 0; length < lengths; ++length) {
         step += step + 1 < count && steps[step + 1] == length ? 1u : 0u;
         last[length] = static_cast<std::uint8_t>(step);
      }
      return last;
   }
   static unsigned lastStep(const prefix4& p) noexcept {
      static constexpr auto last = lastSteps<33>(steps4);
      return last[p.len()];
   }
   static unsigned lastStep(const prefix6& p) noexcept {
      static constexpr auto last = lastSteps<129>(steps6);
      return last[p.len()];
   }
   static U64 hash(const prefix4& p, unsigned step) noexcept {
      return spread(U64{p.bits().cut(steps4[step]).word()} << 8 | step);
   }
   static U64 hash(const prefix6& p, unsigned step) noexcept {
      const auto word = p.bits().cut(steps6[step]).word();
      return spread(spread(static_cast<U64>(word >> 64)) ^ static_cast<U64>(word) ^ U64{0x80 + step} << 40);
   }
   static U64 spread(U64 x) noexcept {
      x *= 0x9e3779b97f4a7c15u;
      x ^= x >> 32;
      return x * 0xd6e8feb86659fd93u;
   }
   static U64 bitsOf(U64 hash) noexcept {
      return U64{1} << (hash & 63) | U64{1} << (hash >> 6 & 63) | U64{1} << (hash >> 12 & 63);
   }
   std::uint32_t stepsUsed(const prefix4&) const noexcept { return steps4Used_; }
   std::uint32_t stepsUsed(const prefix6&) const noexcept { return steps6Used_; }
   void useStep(const prefix4&, unsigned step) noexcept { steps4Used_ |= std::uint32_t{1} << step; }
   void useStep(const prefix6&, unsigned step) noexcept { steps6Used_ |= std::uint32_t{1} << step; }
   template <class P>
   void put(const P& p, unsigned step) noexcept {
      useStep(p, step);
      if (near_ != nullptr && isFar(p, step)) {
         const unsigned bit = nearBit(p);
         near_[bit / 64] |= U64{1} << bit % 64;
      }
      put(hash(p, step));
   }
   template <class P>
   bool has(const P& p, unsigned step) const noexcept {
      if (near_ != nullptr && isFar(p, step)) {
         const unsigned bit = nearBit(p);
         if ((near_[bit / 64] >> bit % 64 & 1) == 0) {
            return false;
         }
      }
      return has(hash(p, step));
   }
   // Whether what is put in at the step has the bits that the small filter goes by.
   static bool isFar(const prefix4&, unsigned step) noexcept { return steps4[step] >= 16; }
   static bool isFar(const prefix6&, unsigned step) noexcept { return steps6[step] >= 32; }
   static unsigned nearBit(const prefix4& p) noexcept { return p.bits().word() >> 16; }
   static unsigned nearBit(const prefix6& p) noexcept {
      return static_cast<unsigned>(spread(static_cast<U64>(p.bits().word() >> 96)) >> 48);
   }
   void put(U64 hash) noexcept {
      U64& word = words_[hash >> shift_];
      const U64 more = word | bitsOf(hash);
      entries_ += more != word ? 1u : 0u;
      word = more;
   }
   bool has(U64 hash) const noexcept {
      const U64 bits = bitsOf(hash);
      return (words_[hash >> shift_] & bits) == bits;
   }

   std::unique_ptr<U64[]> words_;  // a power of two of them
   std::unique_ptr<U64[]> near_;   // null: the filter is small
   unsigned shift_ = 63;
   std::size_t entries_ = 0;  // that were not there before
   std::size_t room_ = 0;
   std::uint32_t steps4Used_ = 0;  // a bit for each at which something was put in
   std::uint32_t steps6Used_ = 0;
};

}  // namespace routetrie::Impl
