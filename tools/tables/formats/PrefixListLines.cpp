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

Words wordsOfConfig(std::string_view text) {
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

// "10.0.0.0/8", "10.0.0.0/8{8,26", "prefix=10.0.0.0/8", "(dst=10.0.0.0/8)": the prefix and where it ends; a word that looks like
// one is read as one.
std::string_view prefixWord(std::string_view word) {
   for (const std::string_view name : {"prefix=", "(dst="}) {
      if (word.starts_with(name)) {
         word.remove_prefix(name.size());
      }
   }
   word = word.substr(0, word.find_first_of("{)"));
   const bool isShaped = word.find_first_not_of("0123456789abcdefABCDEF:./") == std::string_view::npos &&
                         word.find('/') != std::string_view::npos &&
                         word.find_first_of(".:") != std::string_view::npos;
   return isShaped ? word : std::string_view();
}

// Words of which a line without a prefix may start.
bool isFrame(std::string_view word) {
   return word.find_first_not_of("{}[]();!#\"") == std::string_view::npos ||
          isOneOf(word, {"no",      "undo", "delete", "policy-options", "replace:",  "from",       "then",   "term",
                         "end-set", "exit", "begin",  "commit",         "configure", "/configure", "accept", "reject",
                         "set",     "!",    "#",      "remark",         "end-list"});
}

// The name of a list that the line opens.
std::string nameIn(const Words& words, std::string_view line) {
   for (std::size_t i = 0; i < words.size(); ++i) {
      const bool hasNext = i + 1 < words.size();
      if (isOneOf(words[i], {"prefix-list", "prefix-set", "route-filter-list", "policy-statement", "ip-prefix",
                             "ip-prefix-list", "ipv6-prefix-list"}) &&
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

// Lengths that a list takes beside the prefix's own, in one spelling for all: "ge 24 le 26".
class TakenLengths {
  public:
   // own: the prefix as it is written.
   explicit TakenLengths(std::string_view own) : own_(own.substr(own.find('/') + 1)) {}

   void put(std::string_view word, std::string_view value = {}) {
      text_ += fmt::format("{}{}{}{}", text_.empty() ? "" : " ", word, value.empty() ? "" : " ", value);
   }
   // "24", "/24", "24)"
   void atLeast(std::string_view length) {
      if (const auto bare = bareLength(length); bare != own_) {
         put("ge", bare);
      }
   }
   void atMost(std::string_view length) { put("le", bareLength(length)); }
   // "25-26", "/25-/26", or one length alone.
   void range(std::string_view text) {
      const auto dash = text.find('-');
      atLeast(text.substr(0, dash));
      atMost(dash == std::string_view::npos ? text : text.substr(dash + 1));
   }
   const std::string& text() const { return text_; }

  private:
   static std::string_view bareLength(std::string_view length) {
      length.remove_prefix(length.starts_with('/') ? 1 : 0);
      return length.substr(0, length.find(')'));
   }

   std::string_view own_;
   std::string text_;
};

// What stands behind the prefix.
std::string lengthsOf(const Words& words, std::size_t from, std::string_view own) {
   TakenLengths lengths(own);
   constexpr std::string_view named = "prefix-length=";
   const auto wordAt = [&](std::size_t i) { return i < words.size() ? words[i] : std::string_view(); };
   for (std::size_t i = from; i < words.size(); ++i) {
      const auto word = words[i];
      if (isOneOf(word, {"le", "less-equal", "upto"})) {
         lengths.atMost(wordAt(++i));
      } else if (isOneOf(word, {"ge", "greater-equal"})) {
         lengths.put("ge", wordAt(++i));
      } else if (word == "prefix-length-range") {
         lengths.range(wordAt(++i));
      } else if (word.starts_with(named)) {
         lengths.range(word.substr(named.size()));
      } else if (word == "dst-len" && wordAt(i + 1) == "in") {
         lengths.range(wordAt(i += 2));
      } else if (word == "prefixlen" && wordAt(i + 2) == "-") {
         lengths.atLeast(wordAt(i + 1));
         lengths.atMost(wordAt(i += 3));
      } else if (word == "prefixlen") {
         const auto relation = wordAt(++i);
         const auto length = wordAt(++i);
         if (relation == "=") {
            lengths.range(length);
         } else if (relation == ">=") {
            lengths.atLeast(length);
         } else if (relation == "<=") {
            lengths.atMost(length);
         } else {  // one that has no words here is told as it stands
            lengths.put(relation, length);
         }
      } else if (isOneOf(word, {"orlonger", "longer"})) {
         lengths.put(word);
      }
   }
   // {8,26}: cut at the comma.
   const auto braced = words[from - 1].find('{');
   if (braced != std::string_view::npos && from < words.size() && words[from].ends_with('}')) {
      lengths.atLeast(words[from - 1].substr(braced + 1));
      lengths.atMost(words[from].substr(0, words[from].size() - 1));
   }
   return lengths.text();
}

// The word in that spelling for a length that has a line of its own below its prefix; empty if it is none.
std::string_view lengthBelow(std::string_view word) {
   return word == "start-length"                             ? "ge"
          : word == "end-length" || word == "through-length" ? "le"
                                                             : std::string_view();
}

}  // namespace

bool PrefixListLines::opensWith(std::string_view firstLine) {
   const auto words = wordsOfConfig(firstLine);
   if (words.empty() || !prefixWord(words[0]).empty()) {
      return false;
   }
   return looksLike(firstLine) || words[0] == "policy-options" ||
          firstLine.starts_with("configure router policy-options") ||
          firstLine.starts_with("/configure policy-options") ||
          firstLine.starts_with("configure filter match-list") ||
          firstLine.starts_with("/configure filter match-list") ||
          (words.size() == 3 && words[1] == "=" && words[2] == "[") ||
          (words.size() <= 2 && (words[0] == "prefix" || words[0].find("=\"prefix") != std::string_view::npos) &&
           firstLine.find('{') != std::string_view::npos);
}

bool PrefixListLines::looksLike(std::string_view line) {
   const auto words = wordsOfConfig(line);
   return std::any_of(words.begin(), words.end(),
                      [](std::string_view word) {
                         return isOneOf(word, {"prefix-list", "prefix-set", "route-filter", "route-filter-list",
                                               "ip-prefix", "ip-prefix-list", "ipv6-prefix-list"});
                      }) ||
          (line.starts_with("/routing filter") &&
           (line.find("prefix=") != std::string_view::npos || line.find("(dst") != std::string_view::npos)) ||
          (words.size() == 1 && line.ends_with(';') && !prefixWord(words[0]).empty());
}

void PrefixListLines::close(RouteSet& routes) {
   if (open_) {
      routes.add(open_->prefix, open_->payload);
      open_.reset();
   }
}

void PrefixListLines::line(std::string_view text, RouteSet& routes) {
   const auto words = wordsOfConfig(withoutComment(text));
   if (words.empty()) {
      return;
   }
   if (const auto below = lengthBelow(words[0]); !below.empty() && open_ && words.size() > 1) {
      open_->payload += fmt::format(" {} {}", below, words[1]);
      return;
   }
   const bool isDone = isOneOf(words[0], {"no", "undo", "delete"});
   const auto own = isDone ? std::string() : nameIn(words, text);
   for (std::size_t i = 0; i < words.size() && !isDone; ++i) {
      std::string_view prefix = prefixWord(words[i]);
      std::string joined;
      // Address and length as words of their own.
      const bool isPair = prefix.empty() && i + 1 < words.size() && isAddressText(words[i]) &&
                          (i > 0 ? isOneOf(words[i - 1], {"permit", "deny"}) : hasPairs_);
      if (isPair) {
         joined = fmt::format("{}/{}", words[i], words[i + 1]);
         prefix = joined;
      }
      if (prefix.empty()) {
         continue;
      }
      close(routes);
      Open open{prefixIn(prefix), own.empty() ? name_ : own};
      const auto add = [&](std::string_view more) {
         open.payload += fmt::format("{}{}", open.payload.empty() ? "" : " ", more);
      };
      if (std::any_of(words.begin(), words.end(),
                      [](std::string_view word) { return word == "deny" || word.starts_with("{reject}"); })) {
         add("deny");
      }
      if (const auto lengths = lengthsOf(words, i + (isPair ? 2 : 1), prefix); !lengths.empty()) {
         add(lengths);
      }
      open_ = std::move(open);
      return;
   }
   if (!own.empty()) {
      name_ = own;
      hasPairs_ = words[0] == "xpl";
   } else if (!isFrame(words[0]) && words[0] != "prefix") {
      throw BadText(fmt::format("no line of a prefix list: \"{}\"", text));
   }
}

void PrefixListLines::end(RouteSet& routes) { close(routes); }

}  // namespace Rtrie
