#include "trie/TrieInversion.h"

#include <algorithm>
#include <bit>

#include "platform/Corvid/Assert.h"
#include "trie/TrieGeometry.h"
#include "trie/TrieTrace.h"

using namespace TrieImpl;

namespace {

bool isLevel(int level) { return level >= 0 && level <= static_cast<int>(leafLevel); }

}  // namespace

U8 prefixBoundary(int level, int i) {
   if (i == 0) {
      return 255;
   }
   const U32 stride = isLevel(level) ? levelStride[level] : 0;
   ROUTETRIE_ASSERT(stride > 0 && stride <= 8);
   // A route that is b bits short of filling the node begins at an entry with b zeros at the end.
   const U32 zeros = std::min(static_cast<U32>(std::countr_zero(static_cast<U32>(i))), stride - 1);
   const U8 ret = static_cast<U8>(((U32{1} << stride) - 1) >> (stride - 1 - zeros));
   ROUTETRIE_TRACE(trieTrace, 7) << Tesk::hex << "boundary level = " << level << " i = " << i
                                 << " stride = " << stride << " ret = " << ret << Tesk::endl;
   return ret;
}

int computeLen(int level, int bitPos) {
   return isLevel(level) ? static_cast<int>(levelEndBit[level] - levelStride[level]) + bitPos : bitPos;
}

U32 computePrefix(int level, U32 prefix, U8 i, int bitPos) {
   if (!isLevel(level)) {
      return 0;
   }
   // Taken by itself: g++ 12 gets it wrong within the shift below when it is told to check bounds.
   const U32 topBit = levelEntries[level] / 2;
   const U32 key = i & (U32{0} - (topBit >> (bitPos - 1)));
   const U32 above = level == 0 ? 0 : prefix;
   return above | key << (32 - levelEndBit[level]);
}
