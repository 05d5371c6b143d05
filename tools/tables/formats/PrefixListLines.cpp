#include "tools/tables/formats/PrefixListLines.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include "tools/tables/TableErrors.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

using Words = std::vector<std::string_view>;

Words wordsOf(std::string_view text) {
   Words words;
   constexpr std::string_view separators = " \t\r\v\f;,";
   while (!text.empty()) {
      const auto first = text.find_first_not_of(separators);
      if (first == std::string_view::npos) {
         break;
      }
      text.remove_prefix(first);
      words.push_back(text.substr(0, text.find_first_of(separators)));
      text.remove_prefix(words.back().size());
   }
   return words;
}

bool isOneOf(std::string_view word, std::initializer_list<std::string_view> known) {
   return std::find(known.begin(), known.end(), word) != known.end();
}

std::string_view unquoted(std::string_view text) {
   if (text.size() >= 2 && text.starts_with('"') && text.ends_with('"')) {
      text = text.substr(1, text.size() - 2);
   }
   return text;
}

// "10.0.0.0/8", "10.0.0.0/8{8,26", "prefix=10.0.0.0/8": the prefix and where it ends; a word that looks like one is read as one.
std::string_view prefixWord(std::string_view word) {
   constexpr std::string_view name = "prefix=";
   if (word.starts_with(name)) {
      word.remove_prefix(name.size());
   }
   word = word.substr(0, word.find('{'));
   const bool isShaped = word.find_first_not_of("0123456789abcdefABCDEF:./") == std::string_view::npos &&
                         word.find('/') != std::string_view::npos &&
                         word.find_first_of(".:") != std::string_view::npos;
   return isShaped ? word : std::string_view();
}

// Words of which a line without a prefix may start.
bool isFrame(std::string_view word) {
   return word.find_first_not_of("{}[]();!#") == std::string_view::npos ||
          isOneOf(word, {"no",      "undo", "delete", "policy-options", "replace:",  "from",       "then",   "term",
                         "end-set", "exit", "begin",  "commit",         "configure", "/configure", "accept", "reject",
                         "set",     "!",    "#",      "remark"});
}

// The name of a list that the line opens.
std::string nameIn(const Words& words, std::string_view line) {
   for (std::size_t i = 0; i < words.size(); ++i) {
      const bool hasNext = i + 1 < words.size();
      if (isOneOf(words[i], {"prefix-list", "prefix-set", "route-filter-list", "policy-statement", "ip-prefix"}) &&
          hasNext) {
         return std::string(unquoted(words[i + 1]));
      }
      if (i > 0 && words[i] == "=" && line.find('[') != std::string_view::npos) {
         return std::string(words[i - 1]);
      }
      constexpr std::string_view chain = "chain=";
      if (words[i].starts_with(chain)) {
         return std::string(unquoted(words[i].substr(chain.size())));
      }
      if (const auto set = words[i].find("=\"prefix"); set != std::string_view::npos) {
         return std::string(words[i].substr(0, set));
      }
   }
   return {};
}

// What stands behind the prefix, in one spelling for all: "ge 24 le 26".
std::string lengthsOf(const Words& words, std::size_t from, std::string_view own) {
   std::string text;
   const auto put = [&](std::string_view word, std::string_view value) {
      text += fmt::format("{}{}{}{}", text.empty() ? "" : " ", word, value.empty() ? "" : " ", value);
   };
   const auto bare = [](std::string_view length) { return length.substr(length.starts_with('/') ? 1 : 0); };
   for (std::size_t i = from; i < words.size(); ++i) {
      const auto word = words[i];
      const auto next = i + 1 < words.size() ? words[i + 1] : std::string_view();
      if (isOneOf(word, {"le", "less-equal", "upto"})) {
         put("le", bare(next));
         ++i;
      } else if (isOneOf(word, {"ge", "greater-equal"})) {
         put("ge", bare(next));
         ++i;
      } else if (word == "prefix-length-range") {
         const auto dash = next.find('-');
         put("ge", bare(next.substr(0, dash)));
         put("le", bare(dash == std::string_view::npos ? next : next.substr(dash + 1)));
         ++i;
      } else if (isOneOf(word, {"orlonger", "longer", "through"})) {
         put(word, "");
      }
   }
   // {8,26}: cut at the comma.
   const auto braced = words[from - 1].find('{');
   if (braced != std::string_view::npos && from < words.size() && words[from].ends_with('}')) {
      const auto least = words[from - 1].substr(braced + 1);
      if (least != own.substr(own.find('/') + 1)) {
         put("ge", least);
      }
      put("le", words[from].substr(0, words[from].size() - 1));
   }
   return text;
}

}  // namespace

bool PrefixListLines::opensWith(std::string_view firstLine) {
   const auto words = wordsOf(firstLine);
   if (words.empty() || !prefixWord(words[0]).empty()) {
      return false;
   }
   return looksLike(firstLine) || words[0] == "policy-options" ||
          firstLine.starts_with("configure router policy-options") ||
          firstLine.starts_with("/configure policy-options") ||
          (words.size() == 3 && words[1] == "=" && words[2] == "[") ||
          (words.size() <= 2 && (words[0] == "prefix" || words[0].find("=\"prefix") != std::string_view::npos) &&
           firstLine.find('{') != std::string_view::npos);
}

bool PrefixListLines::looksLike(std::string_view line) {
   const auto words = wordsOf(line);
   return std::any_of(
             words.begin(), words.end(),
             [](std::string_view word) {
                return isOneOf(word, {"prefix-list", "prefix-set", "route-filter", "route-filter-list", "ip-prefix"});
             }) ||
          (line.starts_with("/routing filter") && line.find("prefix=") != std::string_view::npos) ||
          (words.size() == 1 && line.ends_with(';') && !prefixWord(words[0]).empty());
}

void PrefixListLines::line(std::string_view text, RouteSet& routes) {
   const auto words = wordsOf(withoutComment(text));
   if (words.empty()) {
      return;
   }
   const bool isDone = isOneOf(words[0], {"no", "undo", "delete"});
   const auto own = isDone ? std::string() : nameIn(words, text);
   for (std::size_t i = 0; i < words.size() && !isDone; ++i) {
      std::string_view prefix = prefixWord(words[i]);
      std::string joined;
      // Address and length as words of their own.
      const bool isPair = prefix.empty() && i > 0 && isOneOf(words[i - 1], {"permit", "deny"}) &&
                          isAddressText(words[i]) && i + 1 < words.size();
      if (isPair) {
         joined = fmt::format("{}/{}", words[i], words[i + 1]);
         prefix = joined;
      }
      if (prefix.empty()) {
         continue;
      }
      const auto parsed = prefixIn(prefix);
      std::string payload = own.empty() ? name_ : own;
      const auto add = [&](std::string_view more) {
         payload += fmt::format("{}{}", payload.empty() ? "" : " ", more);
      };
      if (std::find(words.begin(), words.end(), "deny") != words.end()) {
         add("deny");
      }
      if (const auto lengths = lengthsOf(words, i + (isPair ? 2 : 1), prefix); !lengths.empty()) {
         add(lengths);
      }
      routes.add(parsed, payload);
      return;
   }
   if (!own.empty()) {
      name_ = own;
   } else if (!isFrame(words[0]) && words[0] != "prefix") {
      throw BadText(fmt::format("no line of a prefix list: \"{}\"", text));
   }
}

}  // namespace Rtrie
