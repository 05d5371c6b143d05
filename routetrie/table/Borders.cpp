#include "routetrie/table/Borders.h"

#include <algorithm>
#include <stdexcept>

namespace routetrie::Impl {

namespace {

// The first of two words in a row that are not among these: the two greatest, or else of the 65536 words of an upper half that few
// of them have.
U32 findUnused(const std::vector<U32>& words) {
   constexpr U32 greatest = ~U32{0} - 1;
   if (std::ranges::all_of(words, [](U32 word) { return word < greatest; })) {
      return greatest;
   }
   std::vector<U32> counts(65536);
   for (const U32 word : words) {
      ++counts[word >> 16];
   }
   const auto half = static_cast<U32>(std::ranges::min_element(counts) - counts.begin());
   std::vector<bool> used(65536);
   for (const U32 word : words) {
      if (word >> 16 == half) {
         used[word & 65535] = true;
      }
   }
   for (U32 i = 0; i < 65535; ++i) {
      if (!used[i] && !used[i + 1]) {
         return half << 16 | i;
      }
   }
   throw std::length_error("no two words in a row are left that no route's value has");
}

}  // namespace

template <unsigned width>
BorderSweep<width>::BorderSweep(std::size_t expected) {
   const std::size_t pieces = expected + expected / 2 + 1;
   borders_.starts.reserve(pieces);
   borders_.words.reserve(pieces);
   cut(0, 0, true);
}

template <unsigned width>
void BorderSweep<width>::cut(Word start, U32 word, bool isNone) {
   auto& [starts, words, none, aside, routes] = borders_;
   // A longer route that starts where a shorter one does takes its place.
   if (!starts.empty() && starts.back() == start) {
      if (!nones_.empty() && nones_.back() == starts.size() - 1) {
         nones_.pop_back();
      }
      starts.pop_back();
      words.pop_back();
   }
   if (!starts.empty()) {
      const bool wasNone = !nones_.empty() && nones_.back() == starts.size() - 1;
      if (wasNone == isNone && (isNone || words.back() == word)) {
         return;
      }
   }
   if (isNone) {
      nones_.push_back(static_cast<U32>(starts.size()));
   }
   starts.push_back(start);
   words.push_back(word);
}

// Behind the end of the innermost open route, and of all that end with it, the one around them goes on.
template <unsigned width>
void BorderSweep<width>::endOne() {
   const Word last = open_[opens_ - 1].last;
   while (opens_ != 0 && open_[opens_ - 1].last == last) {
      --opens_;
   }
   if (static_cast<Word>(~last) != 0) {
      opens_ != 0 ? cut(static_cast<Word>(last + 1), open_[opens_ - 1].word, false)
                  : cut(static_cast<Word>(last + 1), 0, true);
   }
}

template <unsigned width>
void BorderSweep<width>::leave(Word before) {
   while (opens_ != 0 && open_[opens_ - 1].last < before) {
      if (static_cast<Word>(open_[opens_ - 1].last + 1) == before) {
         // What starts here cuts for itself.
         const Word last = open_[opens_ - 1].last;
         while (opens_ != 0 && open_[opens_ - 1].last == last) {
            --opens_;
         }
         return;
      }
      endOne();
   }
}

template <unsigned width>
void BorderSweep<width>::flush() {
   for (std::size_t i = 0; i < waits_; ++i) {
      const Route& route = waiting_[i];
      if (borders_.routes++ != 0 &&
          (route.first < previous_.first || (route.first == previous_.first && route.length <= previous_.length))) {
         throw std::invalid_argument("routes to compile have to come in order, by address, then length, each once");
      }
      previous_ = route;
      leave(route.first);
      cut(route.first, route.word, false);
      open_[opens_++] = {static_cast<Word>(route.first | static_cast<Word>(~Bits::mask(route.length))), route.word};
   }
   waits_ = 0;
}

template <unsigned width>
Borders<width> BorderSweep<width>::finish() {
   flush();
   while (opens_ != 0) {
      endOne();
   }
   borders_.aside = findUnused(borders_.words);
   borders_.none = borders_.aside + 1;
   for (const U32 piece : nones_) {
      borders_.words[piece] = borders_.none;
   }
   return std::move(borders_);
}

template class BorderSweep<32>;
template class BorderSweep<128>;

}  // namespace routetrie::Impl
