// TableValues: kinds of values that a table has to keep: each counts who lives, and where, and can be made to raise.
// Tested by tests/property/TableValuesTest.cpp, which uses them.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

#include "tests/property/TableOracle.h"

namespace Property {

struct Raised : std::runtime_error {
   Raised() : std::runtime_error("raised by a value") {}
};

// What values do in this program: each address where one lives; faults of use; and when the next step of one is to raise.
struct ValueLog {
   static inline std::set<const void*> live;
   static inline std::string fault;
   static inline std::size_t raisesAt = 0;  // the n-th step from now; 0: none

   static void step() {
      if (raisesAt != 0 && --raisesAt == 0) {
         throw Raised();
      }
   }
   static void born(const void* at) {
      if (!live.insert(at).second) {
         fault = "made where one lives";
      }
   }
   static void died(const void* at) {
      if (live.erase(at) == 0) {
         fault = "destroyed where none lives";
      }
   }
};

// Logs its life; raises, where it may, before it has changed anything. Owns memory, so that a lost or doubled destruction is seen
// by the sanitizer too.
template <bool copies, bool moveRaises, std::size_t alignment = alignof(std::max_align_t)>
class alignas(alignment) Logged {
  public:
   explicit Logged(std::uint32_t number) : number_((ValueLog::step(), std::make_unique<std::uint32_t>(number))) {
      born();
   }
   Logged() : Logged(0) {}
   Logged(const Logged& other) requires copies
      : number_((ValueLog::step(), std::make_unique<std::uint32_t>(other.number()))) {
      born();
   }
   Logged(Logged&& other) noexcept(!moveRaises) : number_((mayRaise(), std::move(other.number_))) { born(); }
   Logged& operator=(const Logged& other) requires copies {
      ValueLog::step();
      number_ = std::make_unique<std::uint32_t>(other.number());
      return *this;
   }
   Logged& operator=(Logged&& other) noexcept(!moveRaises) {
      mayRaise();
      number_ = std::move(other.number_);
      return *this;
   }
   ~Logged() { ValueLog::died(this); }

   std::uint32_t number() const { return number_ == nullptr ? ~0u : *number_; }
   void numberIs(std::uint32_t number) {
      ValueLog::step();
      *number_ = number;
   }
   friend bool operator==(const Logged& a, const Logged& b) { return a.number() == b.number(); }

  private:
   static void mayRaise() {
      if constexpr (moveRaises) {
         ValueLog::step();
      }
   }
   void born() const {
      ValueLog::born(this);
      if (reinterpret_cast<std::uintptr_t>(this) % alignment != 0) {
         ValueLog::fault = "made where it is not aligned";
      }
   }

   std::unique_ptr<std::uint32_t> number_;
};

using Copyable = Logged<true, false>;
using MoveOnly = Logged<false, false>;
using MovesRaising = Logged<true, true>;
using MovesOnlyRaising = Logged<false, true>;
using Overaligned = Logged<true, false, 128>;

template <bool copies, bool moveRaises, std::size_t alignment>
struct NumberIn<Logged<copies, moveRaises, alignment>> {
   using T = Logged<copies, moveRaises, alignment>;
   static T valueOf(std::uint32_t number) { return T(number); }
   static std::uint32_t numberOf(const T& value) { return value.number(); }
   static std::uint32_t cut(std::uint32_t number) { return number; }
};

}  // namespace Property
