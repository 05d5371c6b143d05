// InspectPath: how an attribute is named on the command line. Steps are joined by dots, and each but the last leads to an
// object: `routes`, `route(10.0.0.0/8)`, `trie4.longestMatch(10.1.2.3/32)`. What stands in brackets is the key of a keyed
// field, or the arguments of an operation; objects that are left out at the end of them are null. A field can be given with
// its class, `Trie::routes` or `Routing::Trie::routes`: the object has to be one of that class.
//
// Nothing is reached that CallCheck refuses.
//
// Tested by tests/tools/rtrie/InspectPathTest.cpp.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Corvid/Inspect.h"

namespace Rtrie {

class InspectPath {
  public:
   struct Step {
      std::string field;
      std::vector<std::string> arguments;
      bool operator==(const Step&) const = default;
   };

   // Raises UsageError that quotes a text that is no path.
   explicit InspectPath(std::string_view text);

   const std::string& text() const { return text_; }
   const std::vector<Step>& steps() const { return steps_; }
   // Whether it can be asked of a table of that family: no argument is an address or prefix of the other one.
   bool suits(Corenet::AddressFamily af) const;
   // What it leads to from `node`, and the name of its type. Raises Corvid::RangeException.
   struct Read : Corvid::Inspect::Value {
      std::string_view typeName;
   };
   Read read(Corvid::Node& node) const;

  private:
   std::string text_;
   std::vector<Step> steps_;
};

}  // namespace Rtrie
