// Registry: what the tables of engines, ops and formats share. A row has a `name`; rows are found by it.
//
// Tested by tests/tools/rtrie/RegistryTest.cpp.
#pragma once

#include <fmt/format.h>

#include <span>
#include <string>
#include <string_view>

#include "tools/rtrie/Errors.h"

namespace Rtrie {

// "a, b, c": the names in the order of the rows.
template <class Row>
std::string namesOf(std::span<const Row> rows) {
   std::string names;
   for (const Row& row : rows) {
      names += names.empty() ? "" : ", ";
      names += row.name;
   }
   return names;
}

// The row of that name. Raises UsageError that names what is known: unknown engine "x": known are a, b
template <class Row>
const Row& rowNamed(std::span<const Row> rows, std::string_view what, std::string_view name) {
   for (const Row& row : rows) {
      if (row.name == name) {
         return row;
      }
   }
   throw UsageError(fmt::format("unknown {} \"{}\": known are {}", what, name, namesOf(rows)));
}

// "name      what it is" a line, for --help.
template <class Row>
std::string summariesOf(std::span<const Row> rows) {
   std::string lines;
   for (const Row& row : rows) {
      lines += fmt::format("  {:<18}{}\n", row.name, row.summary);
   }
   return lines;
}

}  // namespace Rtrie
