#include "routetrie/trie/multibit/TrieInversion.h"

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/trie/multibit/TrieTrace.h"

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
   const U8 ret = boundaryBits(stride, static_cast<U32>(i));
   ROUTETRIE_TRACE(trieTrace, 7) << Tesk::hex << "boundary level = " << level << " i = " << i
                                 << " stride = " << stride << " ret = " << ret << Tesk::endl;
   return ret;
}

int computeLen(int level, int bitPos) {
   return isLevel(level) ? static_cast<int>(levelEndBit[level] - levelStride[level]) + bitPos : bitPos;
}

U32 computePrefix(int level, U32 prefix, U8 i, int bitPos) {
   return isLevel(level) ? routeAddress(static_cast<U32>(level), prefix, i, static_cast<U32>(bitPos)) : 0;
}
