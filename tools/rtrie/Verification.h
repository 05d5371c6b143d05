// Verification: whether an engine that was loaded with a table is sound and answers as it should.
//
//    audit     the engine's own check of its rules
//    routes    it has those of the table, in order
//    borders   the longest match of the first and the last address of every route and of their neighbours, which are all addresses
//              where an answer can change; held against a sweep over the sorted routes, which knows no engine
//    samples   every other question about some thousand routes, prefixes around them and prefixes anywhere; held against the
//              container, of which the borders are verified as those of any engine
//
// Tested by tests/tools/rtrie/VerificationTest.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/RouteTable.h"
#include "tools/tables/RouteSet.h"

namespace Rtrie {

// What was found out about one engine.
struct Verified {
   std::uint64_t routes = 0;
   std::uint64_t borders = 0;  // questions
   std::uint64_t samples = 0;  // questions
   std::uint64_t faults = 0;
   std::vector<std::string> shown;  // the first of the faults, in words
   double seconds = 0;

   bool isSound() const { return faults == 0; }
};

class Verification {
  public:
   // Told how much of an engine's verification is done.
   using Tell = std::function<void(std::uint64_t done, std::uint64_t all)>;
   static constexpr std::size_t mostShown = 10;

   // The routes of one family, which there have to be; they have to live as long. samples: routes that are asked about.
   Verification(const RouteSet& routes, Corenet::AddressFamily af, std::size_t samples);

   // Loads the engine, which holds the family, and asks it.
   Verified of(const Engine& engine, const Tell& tell = nullptr) const;

  private:
   struct Border {
      Corenet::IpGenPrefix address;  // as /32 or /128
      Corenet::IpGenPrefix answer;   // empty: none
   };

   template <class Number>
   void sweep();

   const RouteSet& routes_;
   const Corenet::AddressFamily af_;
   std::vector<Corenet::IpGenPrefix> all_;  // in order
   std::vector<Border> borders_;
   std::vector<Corenet::IpGenPrefix> samples_;
   std::unique_ptr<RouteTable> reference_;
};

}  // namespace Rtrie
