#include "tools/rtrie/NextHops.h"

#include <charconv>

#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

constexpr std::string_view mark = "nexthop";

bool isHopWord(std::string_view word) { return word == "via" || word == "dev" || word == "encap"; }

// What stands before `via` or `dev`, of a text that starts behind `encap`.
std::string_view takeEncap(std::string_view& text) {
   const std::string_view whole = trimmed(text);
   std::string_view rest = whole;
   for (;;) {
      const auto before = rest;
      const auto word = takeWord(rest);
      if (word.empty() || word == "via" || word == "dev") {
         text = before;
         return trimmed(whole.substr(0, whole.size() - before.size()));
      }
   }
}

NextHop nextHopOf(std::string_view text) {
   NextHop hop;
   for (auto word = takeWord(text); !word.empty(); word = takeWord(text)) {
      if (word == "encap") {
         hop.encap = takeEncap(text);
      } else if (word == "via") {
         hop.gateway = takeWord(text);
         if (hop.gateway == "inet" || hop.gateway == "inet6") {
            hop.gateway = takeWord(text);
         }
      } else if (word == "dev") {
         hop.device = takeWord(text);
      } else if (word == "weight") {
         const auto weight = takeWord(text);
         std::from_chars(weight.data(), weight.data() + weight.size(), hop.weight);
      } else {
         hop.flags.push_back(word);
      }
   }
   return hop;
}

}  // namespace

std::vector<NextHop> nextHopsOf(std::string_view payload) {
   std::vector<NextHop> hops;
   std::string_view rest = payload;
   const char* begin = nullptr;  // of the hop at hand
   const auto close = [&](const char* end) {
      if (begin != nullptr) {
         hops.push_back(nextHopOf({begin, static_cast<std::size_t>(end - begin)}));
      }
   };
   for (auto word = takeWord(rest); !word.empty(); word = takeWord(rest)) {
      auto after = rest;
      if (word == mark && isHopWord(takeWord(after))) {
         close(word.data());
         begin = word.data() + word.size();
      }
   }
   close(payload.data() + payload.size());
   return hops;
}

}  // namespace Rtrie
