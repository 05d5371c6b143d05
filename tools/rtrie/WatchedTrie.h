// WatchedTrie: a trie of one family and what it publishes, a line for each attribute: "IPv4 changedRoute none -> 10.0.0.0/8".
//
// Tested by tests/tools/rtrie/WatchTest.cpp.
#pragma once

#include <string>
#include <string_view>

#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/trie/front/TrieGen.h"
#include "tools/rtrie/Output.h"
#include "tools/tables/PrefixText.h"

namespace Rtrie {

class WatchedTrie {
  public:
   explicit WatchedTrie(Corenet::AddressFamily af)
      : trie_(Routing::trieGenFactory(Corvid::String(familyName(af)), af)),
        type_(Corvid::Inspect::typeOf(*trie_).value()) {}

   Routing::TrieGen& trie() { return *trie_; }
   // From now on; not what was loaded before.
   void watch(Output& output) {
      watch_ =
         trie_->publisher()->subscribe([this, &output](const Corvid::Change& change) { print(output, change); });
   }

  private:
   // Names and values come from the reflected surface, so that an attribute that is added shows here, too.
   void print(Output& output, const Corvid::Change& change) const {
      for (const auto& field : type_.fields()) {
         if (field.id() == change.id) {
            const std::string now = Corvid::Inspect::get(*trie_, field.name()).text;
            output.format("{} {} {} -> {}\n", trie_->name().view(), field.name(), oldText(field.typeName(), change),
                          now);
            output.lineDone();
         }
      }
   }
   static std::string oldText(std::string_view type, const Corvid::Change& change) {
      if (type == "bool") {
         return *static_cast<const bool*>(change.oldValue) ? "true" : "false";
      }
      if (type == "Corenet::IpGenPrefix") {
         return static_cast<const Corenet::IpGenPrefix*>(change.oldValue)->stringValue();
      }
      return "an object";
   }

   const Corvid::Ptr<Routing::TrieGen> trie_;
   const Corvid::Inspect::Type type_;
   Corvid::Subscription watch_;
};

}  // namespace Rtrie
