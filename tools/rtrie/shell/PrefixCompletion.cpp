#include "tools/rtrie/shell/PrefixCompletion.h"

#include <fmt/format.h>

#include <charconv>
#include <optional>

#include "tools/tables/AddressNumber.h"

namespace Rtrie {
namespace {

// Of addresses with that many bits, how their texts are made.
template <class Number>
struct AddressGroups {
   static constexpr bool isIpv4 = sizeof(Number) == 4;
   static constexpr unsigned bits = isIpv4 ? 8 : 16;
   static constexpr unsigned most = (1u << bits) - 1;
   static constexpr char separator = isIpv4 ? '.' : ':';
   static constexpr Corenet::AddressFamily family =
      isIpv4 ? Corenet::AddressFamily::ipv4 : Corenet::AddressFamily::ipv6;

   static std::optional<unsigned> valueOf(std::string_view text) {
      unsigned value = 0;
      const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, isIpv4 ? 10 : 16);
      const bool isWhole = error == std::errc{} && end == text.data() + text.size();
      return isWhole && value <= most ? std::optional(value) : std::nullopt;
   }
   static std::string textOf(unsigned value) {
      return isIpv4 ? fmt::format("{}", value) : fmt::format("{:x}", value);
   }
   static Number numberOfRoute(const Corenet::IpGenPrefix& route) { return route.bits<widthBits<Number>>().word(); }
   // The shortest prefix of that address, with which those of the address begin.
   static Corenet::IpGenPrefix firstOf(Number address) {
      return Rtrie::prefixOf(address, static_cast<U8>(widthBits<Number> - trailingZeros(address)));
   }
};

template <class Number>
class PrefixCompleter {
  public:
   using Groups = AddressGroups<Number>;

   PrefixCompleter(std::string_view begin, const routetrie::table<U32>& routes, std::vector<CompletedWord>& words)
      : begin_(begin), rest_(begin), routes_(routes), words_(words) {}

   void complete() {
      if (!readGroups()) {
         return;
      }
      const Number last = knownBits_ == width ? known_ : known_ | (~Number{0} >> knownBits_);
      auto at = routes_.lower_bound(Groups::firstOf(known_));
      for (unsigned looked = 0; looked < mostLooked && isWithin(at, last); ++looked) {
         const Number address = Groups::numberOfRoute(at->prefix);
         const std::string text(at->prefix.stringValue());
         const unsigned group = groupOf(address);
         // What follows a group of zeros may be written in several ways in IPv6.
         const bool canStep = isStepwise_ && (Groups::isIpv4 || group != 0);
         bool steps = canStep && !Groups::textOf(group).starts_with(rest_);
         if (text.starts_with(begin_)) {
            const auto cut = text.find(Groups::separator, begin_.size());
            auto next = at;
            const bool isShared = isStepwise_ && isWithin(++next, address | lowBits());
            if (isShared && cut != std::string::npos) {
               add({text.substr(0, cut + 1), false});
               steps = canStep;
            } else {
               add({text, true});
            }
         }
         if (!steps) {
            ++at;
         } else if (const Number end = address | lowBits(); end < last) {
            at = routes_.lower_bound(Groups::firstOf(end + 1));
         } else {
            return;
         }
      }
   }

  private:
   static constexpr unsigned width = widthBits<Number>;
   // Where groups can't be stepped over, a table has to be looked through, which ends here.
   static constexpr unsigned mostLooked = 100'000;

   // The groups that a separator ends, which are known. False if no address is written so.
   bool readGroups() {
      for (auto at = rest_.find(Groups::separator); at != std::string_view::npos;
           at = rest_.find(Groups::separator)) {
         const auto group = Groups::valueOf(rest_.substr(0, at));
         if (at == 0 && !Groups::isIpv4) {  // "::" stands for any number of groups
            isStepwise_ = false;
            return true;
         }
         if (!group || knownBits_ + Groups::bits >= width) {
            return false;
         }
         knownBits_ += Groups::bits;
         known_ |= Number{*group} << (width - knownBits_);
         rest_.remove_prefix(at + 1);
      }
      isStepwise_ = rest_.find('/') == std::string_view::npos && knownBits_ + Groups::bits < width;
      return true;
   }

   template <class Iterator>
   bool isWithin(const Iterator& at, Number last) const {
      return at != routes_.end() && at->prefix.af() == Groups::family && Groups::numberOfRoute(at->prefix) <= last;
   }
   // Of the group behind those that are known.
   unsigned groupOf(Number address) const {
      return static_cast<unsigned>(address >> (width - knownBits_ - Groups::bits)) & Groups::most;
   }
   Number lowBits() const { return ~Number{0} >> (knownBits_ + Groups::bits); }

   void add(CompletedWord word) {
      const bool isOffered =
         !words_.empty() &&
         (words_.back() == word || (!words_.back().isWhole && word.text.starts_with(words_.back().text)));
      if (!isOffered) {
         words_.push_back(std::move(word));
      }
   }

   const std::string_view begin_;
   std::string_view rest_;
   const routetrie::table<U32>& routes_;
   std::vector<CompletedWord>& words_;
   Number known_ = 0;
   unsigned knownBits_ = 0;
   bool isStepwise_ = true;
};

}  // namespace

std::vector<CompletedWord> completedPrefixes(std::string_view begin, const routetrie::table<U32>& routes) {
   std::vector<CompletedWord> words;
   PrefixCompleter<U32>(begin, routes, words).complete();
   PrefixCompleter<Corenet::U128>(begin, routes, words).complete();
   return words;
}

}  // namespace Rtrie
