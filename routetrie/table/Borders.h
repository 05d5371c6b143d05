// Borders: the address space of one family cut where the longest match changes, as pieces in order, each with its answer.
//
//    routes      10.0.0.0/8 = a          10.1.0.0/16 = b
//    starts      0.0.0.0   10.0.0.0   10.1.0.0   10.2.0.0   11.0.0.0
//    words       none      a          b          a          none
//
// An answer is a word of 32 bits. Neighbours differ, and the first piece starts at 0. Two words that no route has, one
// behind the other, are found for what has no answer: `aside`, for whoever keeps an answer elsewhere, and `none`, for no route.
//
// BorderSweep makes them of routes in order, in one pass with a stack of the routes that cover the place where it stands.
// Tested by tests/table/CompiledTest.cpp.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "routetrie/platform/Corenet/AddressBits.h"
#include "routetrie/platform/Export.h"

namespace routetrie::Impl {

using Corenet::U128;
using Corenet::U16;
using Corenet::U32;
using Corenet::U64;
using Corenet::U8;

template <unsigned width>
struct Borders {
   using Word = typename Corenet::AddressBits<width>::Word;

   std::vector<Word> starts;
   std::vector<U32> words;
   U32 none = ~U32{0};
   U32 aside = ~U32{0} - 1;
   std::size_t routes = 0;
};

template <unsigned width>
class ROUTETRIE_EXPORT BorderSweep {
  public:
   using Bits = Corenet::AddressBits<width>;
   using Word = typename Bits::Word;

   // `expected`: routes, as far as the caller knows.
   explicit BorderSweep(std::size_t expected);

   // The next route, by address, then length; bits past the length are zero. Raises std::invalid_argument if it does not come
   // behind the one before; what was swept is then of no more use.
   void add(Bits bits, unsigned length, U32 word) {
      waiting_[waits_++] = {bits.word(), word, length};
      if (waits_ == waiting_.size()) {
         flush();
      }
   }
   // Raises as add(). Requires: it was not called before.
   Borders<width> finish();

  private:
   struct Route {
      Word first;
      U32 word;
      U32 length;
   };
   struct Open {
      Word last;
      U32 word;
   };

   void flush();
   void leave(Word before);
   void endOne();
   void cut(Word start, U32 word, bool isNone);

   Borders<width> borders_;
   std::vector<U32> nones_;  // of the pieces, in order
   std::array<Open, width + 1> open_;
   unsigned opens_ = 0;
   Route previous_{};
   std::array<Route, 128> waiting_;
   std::size_t waits_ = 0;
};

}  // namespace routetrie::Impl
