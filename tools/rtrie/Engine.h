// Engine: a way to keep routes, by name. To add one, write its RouteTable under engines/ and give it a row in
// Engine.cpp.
//
// Tested by tests/tools/rtrie/EngineTest.cpp.
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "routetrie/platform/Corenet.h"
#include "tools/rtrie/RouteTable.h"

namespace Rtrie {

struct Engine {
   std::string_view name;
   std::string_view summary;
   bool ipv4;
   bool ipv6;
   Questions answers;
   // A new, empty table. Requires: holds(af).
   std::unique_ptr<RouteTable> (*make)(Corenet::AddressFamily af);

   bool holds(Corenet::AddressFamily af) const {
      return af == Corenet::AddressFamily::ipv4 ? ipv4 : af == Corenet::AddressFamily::ipv6 && ipv6;
   }
};

// The first is the default, auto.
std::span<const Engine> engines();

// The engine of that name; for auto, the first that answers the questions that `what` needs. Raises UsageError if it is
// unknown or lacks one of them.
const Engine& engineNamed(std::string_view name, Questions questions = Questions::none, std::string_view what = "");

// Raises UsageError if the engine lacks one of the questions that `what` needs, and names those of `known` that do not:
// engine "a" has no op "x": engines that have it are b, c
void requireAnswers(const Engine& engine, Questions questions, std::string_view what, std::span<const Engine> known);

}  // namespace Rtrie
