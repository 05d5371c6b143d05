// How borders become a form for lookup, and which one. A form may cost twice what a large table's does, so that nothing explodes:
// where the first bits are spread too thin for an index, or most borders are finer than a tree's key, they are kept in order.
#include <algorithm>
#include <limits>
#include <optional>

#include "routetrie/table/Compiled.h"

namespace routetrie::Impl {

namespace {

constexpr unsigned fanout = BorderNode::fanout;

template <unsigned width>
constexpr std::size_t bytesARoute = width == 32 ? 22 : 60;
constexpr std::size_t smallBytes = 2048;  // that any form may take

// The borders by blocks of 2^shift addresses: emit(block, word) where a block's answer differs from the one before, in order; the
// word is `aside` for blocks with borders within. Of those, fine(start, word) gets all pieces.
template <unsigned width, class Emit, class Fine>
void forEachBlock(const Borders<width>& all, unsigned shift, Emit&& emit, Fine&& fine) {
   using Word = typename Borders<width>::Word;
   const std::size_t size = all.starts.size();
   const auto blockOf = [&](std::size_t i) { return static_cast<Word>(all.starts[i] >> shift); };
   const Word lastBlock = static_cast<Word>(~Word{0}) >> shift;
   bool isFine = false;  // the block that was met last
   Word block = 0;
   for (std::size_t i = 0; i < size; ++i) {
      const Word here = blockOf(i);
      if (isFine && here == block) {
         fine(all.starts[i], all.words[i]);
         continue;
      }
      // Without this the search among what is fine would go on, and find the same.
      if (isFine && here != block + 1) {
         emit(static_cast<Word>(block + 1), all.words[i - 1]);
      }
      const bool startsBlock = static_cast<Word>(here << shift) == all.starts[i];
      isFine = !startsBlock || (i + 1 < size && blockOf(i + 1) == here);
      block = here;
      if (isFine) {
         emit(here, all.aside);
         if (!startsBlock) {
            fine(static_cast<Word>(here << shift), all.words[i - 1]);
         }
         fine(all.starts[i], all.words[i]);
      } else {
         emit(here, all.words[i]);
      }
   }
   if (isFine && block != lastBlock) {
      emit(static_cast<Word>(block + 1), all.words[size - 1]);
   }
}

// The same, in vectors, equal neighbours as one.
template <unsigned width>
struct Blocks {
   using Word = typename Borders<width>::Word;
   std::vector<Word> blocks;
   std::vector<U32> words;
   std::vector<Word> fineStarts;
   std::vector<U32> fineWords;

   Blocks(const Borders<width>& all, unsigned shift) {
      blocks.reserve(all.starts.size());
      words.reserve(all.starts.size());
      forEachBlock(
         all, shift,
         [&](Word block, U32 word) {
            if (words.empty() || words.back() != word) {
               blocks.push_back(block);
               words.push_back(word);
            }
         },
         [&](Word start, U32 word) {
            fineStarts.push_back(start);
            fineWords.push_back(word);
         });
   }
};

std::size_t nodesFor(std::size_t answers, unsigned levels) noexcept {
   std::size_t nodes = 0;
   for (; levels != 0; --levels) {
      answers = (answers + fanout - 1) / fanout;
      nodes += answers;
   }
   return nodes;
}

unsigned levelsFor(std::size_t answers) noexcept {
   unsigned levels = 0;
   for (std::size_t reach = 1; reach < answers; reach *= fanout) {
      ++levels;
   }
   return levels;
}

// Nodes over answers that stand in one run, from below upwards.
class NodeWriter {
  public:
   explicit NodeWriter(BorderNode* nodes) noexcept : nodes_(nodes) {}

   // The number of the topmost node, or of the answer if there are no levels. keyOf(i): where the i-th answer begins.
   template <class KeyOf>
   U32 add(U32 firstAnswer, std::size_t answers, unsigned levels, KeyOf&& keyOf) {
      U32 first = firstAnswer;
      std::size_t count = answers;
      std::size_t spans = 1;  // answers under each of them
      for (unsigned level = 0; level < levels; ++level) {
         const U32 firstNode = made_;
         for (std::size_t child = 0; child < count; child += fanout) {
            const std::size_t children = std::min<std::size_t>(fanout, count - child);
            const auto missing = static_cast<unsigned>(fanout - children);
            BorderNode& node = nodes_[made_++];
            alignas(64) I32 lanes[fanout];
            lanes[0] = static_cast<I32>(static_cast<U32>(first + child - missing));
            for (unsigned lane = 1; lane < fanout; ++lane) {
               lanes[lane] = lane <= missing ? std::numeric_limits<I32>::min()
                                             : BorderNode::turned(keyOf((child + lane - missing) * spans));
            }
            std::memcpy(&node, lanes, sizeof node);
         }
         spans *= fanout;
         first = firstNode;
         count = made_ - firstNode;
      }
      return first;
   }
   U32 made() const noexcept { return made_; }

  private:
   BorderNode* nodes_;
   U32 made_ = 0;
};

}  // namespace

//--- the plan of a tree: how many bits go into the index, and what comes of it ---

template <unsigned width>
struct Compiled<width>::Plan {
   static constexpr unsigned keyBits = 32;

   unsigned indexBits = 0;
   U64 windowFirst = 0;
   U64 windowSize = 0;
   U32 outside = 0;  // the answer there
   unsigned levels = 0;
   std::size_t answers = 0;
   std::size_t nodes = 0;
   std::size_t mostAnswers = 1;

   // Bits of an address behind index and key.
   static unsigned blockShift(unsigned indexBits) noexcept { return width == 32 ? 0 : width - keyBits - indexBits; }
   static U64 topOf(Word block, unsigned indexBits) noexcept {
      return width == 32 ? static_cast<U64>(block) << indexBits >> 32
                         : static_cast<U64>(block >> (width == 32 ? 0 : 32));
   }

   // visit(value of the first bits, first answer, how many, the answer that goes on from before if the first is that one):
   // for each entry of the index. Entries with one answer in a row that have the same one share it: `shares`.
   template <class Visit>
   void forEachEntry(const Blocks<width>& of, Visit&& visit) const {
      std::size_t next = 0;
      while (next < of.blocks.size() && topOf(of.blocks[next], indexBits) < windowFirst) {
         ++next;
      }
      for (U64 i = 0; i < windowSize; ++i) {
         const U64 top = windowFirst + i;
         const std::size_t begin = next;
         while (next < of.blocks.size() && topOf(of.blocks[next], indexBits) == top) {
            ++next;
         }
         const bool goesOn = begin == next || !startsEntry(of.blocks[begin]);
         visit(static_cast<std::size_t>(i), goesOn ? begin - 1 : begin, next);
      }
   }
   bool startsEntry(Word block) const noexcept {
      const unsigned below = 32 - (width == 32 ? indexBits : 0);
      return (static_cast<U64>(block) & ((U64{1} << below) - 1)) == 0;
   }

   // False: an index of so many entries is too much.
   bool setWindow(const Blocks<width>& of, std::size_t mostEntries) {
      outside = of.words.back();
      if (width == 32) {
         windowSize = U64{1} << indexBits;
      } else if (of.blocks.size() == 1) {
         windowSize = 0;
      } else {
         // What lies below the first border has the entry of the rest, if its answer is the same.
         windowFirst = of.words.front() == outside ? topOf(of.blocks[1], indexBits) : 0;
         windowSize = topOf(of.blocks.back(), indexBits) - windowFirst + 1;
      }
      return windowSize <= mostEntries;
   }
   void count(const Blocks<width>& of) {
      forEachEntry(of, [&](std::size_t, std::size_t begin, std::size_t end) {
         mostAnswers = std::max(mostAnswers, end - begin);
      });
      levels = levelsFor(mostAnswers);
      std::optional<U32> alone;
      forEachEntry(of, [&](std::size_t, std::size_t begin, std::size_t end) {
         if (end - begin == 1) {
            if (alone == of.words[begin]) {
               return;
            }
            alone = of.words[begin];
         }
         answers += end - begin;
         nodes += nodesFor(end - begin, levels);
      });
      answers += 1;
      nodes += nodesFor(1, levels);
   }
   std::size_t bytes(std::size_t fine) const noexcept {
      return (windowSize + 1) * sizeof(U32) + nodes * sizeof(BorderNode) + answers * sizeof(U32) +
             fine * (sizeof(Word) + sizeof(U32) + 2);
   }
};

template <unsigned width>
struct Compiled<width>::BitmapPlan {
   std::size_t answers = 0;
   std::size_t fine = 0;

   explicit BitmapPlan(const Borders<32>& borders) {
      U32 last = 0;
      forEachBlock(
         borders, Slot::blockShift,
         [&](U32, U32 word) {
            answers += answers == 0 || word != last ? 1 : 0;
            last = word;
         },
         [&](U32, U32) { ++fine; });
   }
   static constexpr std::size_t slotBytes = Slot::count * sizeof(Slot);
   std::size_t bytes() const noexcept { return slotBytes + answers * sizeof(U32) + fine * 9; }
};

template <unsigned width>
Compiled<width>::Compiled(const Borders<width>& borders, CompiledForm form) {
   if (borders.starts.size() == 1 && borders.words[0] == borders.none) {
      return;
   }
   shape_.none = borders.none;
   shape_.aside = borders.aside;
   const bool mayChoose = form == CompiledForm::best;
   const std::size_t mostBytes =
      mayChoose ? bytesARoute<width> * borders.routes + smallBytes : std::numeric_limits<U32>::max();
   if constexpr (width == 32) {
      if (mayChoose ? BitmapPlan::slotBytes < mostBytes : form == CompiledForm::bitmap) {
         const BitmapPlan plan(borders);
         if (plan.bytes() <= mostBytes && (plan.fine * 16 < borders.starts.size() || !mayChoose)) {
            makeBitmap(borders, plan);
            return;
         }
      }
   } else if (form == CompiledForm::sorted) {
      makeSorted(borders);
      return;
   }
   std::optional<Plan> best;
   std::size_t bestCost = std::numeric_limits<std::size_t>::max();
   std::optional<Blocks<width>> blocks;
   for (unsigned indexBits = 0; indexBits <= (width == 32 ? 16 : 32); indexBits += width == 32 ? 4 : 8) {
      if (width != 32 || !blocks) {
         blocks.emplace(borders, Plan::blockShift(indexBits));
      }
      Plan plan;
      plan.indexBits = indexBits;
      if (!plan.setWindow(*blocks, std::min<std::size_t>(mostBytes / sizeof(U32), 65536))) {
         continue;
      }
      plan.count(*blocks);
      const std::size_t fine = blocks->fineStarts.size();
      const std::size_t bytes = plan.bytes(fine);
      // A level costs a lookup about as much as a larger form does; what is aside costs much more.
      const std::size_t cost = bytes / 4 * (3 + plan.levels) + 64 * fine;
      if (cost < bestCost && (bytes <= mostBytes) && (fine * 4 < borders.starts.size() || !mayChoose)) {
         best = plan;
         bestCost = cost;
      }
   }
   if (best) {
      makeTree(borders, *best);
   } else {
      makeSorted(borders);
   }
}

template <unsigned width>
void Compiled<width>::makeBitmap(const Borders<width>& borders, const BitmapPlan& plan) {
   if constexpr (width == 32) {
      const std::size_t words = plan.answers, fine = plan.fine;
      slots_ = LineArray<Slot>(Slot::count);
      answers_ = LineArray<U32>(words + fine);
      U32* const answers = answers_.data();
      std::vector<U32> fineStarts;
      fineStarts.reserve(fine);
      U32 made = 0, fines = 0;
      U32 slot = 0;
      U64 bits = 0;
      U32 base = ~U32{0};  // the answer that goes on into the slot
      const auto close = [&](U32 until) {
         for (; slot < until; ++slot) {
            Slot& to = slots_.data()[slot];
            std::memcpy(to.borders, &bits, sizeof bits);
            to.base = base;
            bits = 0;
            base = made - 1;
         }
      };
      forEachBlock(
         borders, Slot::blockShift,
         [&](U32 block, U32 word) {
            if (made != 0 && word == answers[made - 1]) {
               return;
            }
            close(block >> 6);
            bits |= U64{1} << (block & 63);
            answers[made++] = word;
         },
         [&](U32 start, U32 word) {
            fineStarts.push_back(start);
            answers[words + fines++] = word;
         });
      close(static_cast<U32>(Slot::count));
      shape_.slots = slots_.data();
      shape_.answers = answers;
      if (fine != 0) {
         shape_.fineLevels = levelsFor(fine);
         nodes_ = LineArray<BorderNode>(nodesFor(fine, shape_.fineLevels));
         NodeWriter writer(nodes_.data());
         shape_.fineRoot = writer.add(static_cast<U32>(words), fine, shape_.fineLevels,
                                      [&](std::size_t i) { return fineStarts[i]; });
         shape_.nodes = nodes_.data();
      }
   }
}

template <unsigned width>
void Compiled<width>::makeTree(const Borders<width>& borders, const Plan& plan) {
   const Blocks<width> blocks(borders, Plan::blockShift(plan.indexBits));
   const std::size_t fine = blocks.fineStarts.size();
   index_ = LineArray<U32>(plan.windowSize + 1);
   nodes_ = LineArray<BorderNode>(plan.nodes);
   answers_ = LineArray<U32>(plan.answers + fine);
   NodeWriter writer(nodes_.data());
   U32* const answers = answers_.data();
   U32 made = 0, aloneAt = 0;
   std::optional<U32> alone;
   plan.forEachEntry(blocks, [&](std::size_t entry, std::size_t begin, std::size_t end) {
      if (end - begin == 1) {
         if (alone == blocks.words[begin]) {
            index_.data()[entry] = aloneAt;
            return;
         }
      }
      std::copy(blocks.words.data() + begin, blocks.words.data() + end, answers + made);
      const U32 root = writer.add(made, end - begin, plan.levels,
                                  [&](std::size_t i) { return static_cast<U32>(blocks.blocks[begin + i]); });
      made += static_cast<U32>(end - begin);
      index_.data()[entry] = root;
      if (end - begin == 1) {
         alone = blocks.words[begin];
         aloneAt = root;
      }
   });
   answers[made] = plan.outside;
   index_.data()[plan.windowSize] = writer.add(made, 1, plan.levels, [](std::size_t) { return U32{0}; });
   shape_.index = index_.data();
   shape_.nodes = nodes_.data();
   shape_.answers = answers;
   shape_.windowFirst = plan.windowFirst;
   shape_.windowSize = plan.windowSize;
   shape_.indexBits = plan.indexBits;
   shape_.levels = plan.levels;
   std::ranges::copy(blocks.fineWords, answers + plan.answers);
   setFine(blocks.fineStarts, plan.answers);
}

// All is aside.
template <unsigned width>
void Compiled<width>::makeSorted(const Borders<width>& borders) {
   answers_ = LineArray<U32>(1 + borders.words.size());
   answers_.data()[0] = borders.aside;
   std::ranges::copy(borders.words, answers_.data() + 1);
   shape_.answers = answers_.data();
   setFine(borders.starts, 1);
}

template <unsigned width>
void Compiled<width>::setFine(const std::vector<Word>& starts, std::size_t firstAnswer) {
   if (width == 32 || starts.empty()) {
      return;
   }
   shape_.fineAnswers = firstAnswer;
   fineBorders_ = LineArray<Word>(starts.size());
   std::ranges::copy(starts, fineBorders_.data());
   shape_.fineBorders = fineBorders_.data();
   // About four borders a bucket, if they were spread evenly.
   const std::size_t buckets =
      std::bit_ceil(starts.size() / 4 + 2);  // two and more, so that a shift of 127 is the most
   fineIndex_ = LineArray<U32>(buckets + 1);
   shape_.fineIndex = fineIndex_.data();
   shape_.fineBuckets = static_cast<U32>(buckets);
   shape_.fineFirst = starts.size() > 1 ? starts[1] : starts[0];
   const Word span = static_cast<Word>(starts.back() - shape_.fineFirst);
   while (span >> shape_.fineShift >= buckets) {
      ++shape_.fineShift;
   }
   std::size_t next = 1;
   for (std::size_t bucket = 0; bucket <= buckets; ++bucket) {
      while (next < starts.size() &&
             static_cast<Word>(starts[next] - shape_.fineFirst) >> shape_.fineShift < bucket) {
         ++next;
      }
      fineIndex_.data()[bucket] = static_cast<U32>(next);
   }
}

template <unsigned width>
const U32* Compiled<width>::lookupFine(Bits address) const noexcept {
   std::size_t at;
   if constexpr (width == 32) {
      U32 node = shape_.fineRoot;
      for (unsigned level = 0; level < shape_.fineLevels; ++level) {
         node = shape_.nodes[node].childOf(BorderNode::turned(address.word()));
      }
      at = node;
   } else {
      const Word word = address.word();
      at = shape_.fineAnswers;
      if (word >= shape_.fineFirst) {
         const Word bucket = static_cast<Word>(word - shape_.fineFirst) >> shape_.fineShift;
         const auto here = bucket < shape_.fineBuckets ? static_cast<std::size_t>(bucket) : shape_.fineBuckets - 1u;
         // The last border at most the address: before the bucket's first, or in it.
         const Word* border = shape_.fineBorders + shape_.fineIndex[here] - 1;
         for (std::size_t size = shape_.fineIndex[here + 1] - shape_.fineIndex[here] + 1; size > 1;) {
            const std::size_t half = size / 2;
            border += border[half] <= word ? half : 0;
            size -= half;
         }
         at += static_cast<std::size_t>(border - shape_.fineBorders);
      }
   }
   const U32* const place = shape_.answers + at;
   return *place != shape_.none ? place : nullptr;
}

template <unsigned width>
table_memory Compiled<width>::memory() const noexcept {
   table_memory held;
   held.nodes = nodes_.bytes() + fineBorders_.bytes();
   held.index = index_.bytes() + slots_.bytes() + fineIndex_.bytes();
   held.values = answers_.bytes();
   return held;
}

template <unsigned width>
const char* Compiled<width>::shape() const noexcept {
   return answers_.bytes() == 0         ? "empty"
          : shape_.slots != nullptr     ? "bitmap"
          : shape_.index == Shape::zero ? "sorted"
                                        : "tree";
}

template class Compiled<32>;
template class Compiled<128>;

}  // namespace routetrie::Impl
