// Tree: routes of one family, with the bytes of a value for each; what the tables stand on. It knows prefixes and bytes, no types.
//
// A node stands for six bits of the address, at depth 0, 6, 12, ... It is a block of memory, known by one number:
//
//    +-------------+-------------+-------------+------------------------+---------------------------------+
//    | routes[0]   | routes[1]   | children    | number | number | ..   | value | value | value | ..      |
//    +-------------+-------------+-------------+------------------------+---------------------------------+
//      63 prefixes    63 prefixes   64 children   of the children that     of the routes that are there,
//      0, 00, 000,    1, 10, 100,   one for each  are there, by their      in preorder, those of routes[0]
//      ... 01, ...    ... 11, ...   six bits that six bits                 first
//      in preorder    in preorder   more routes
//                                   share
//      8 bytes        8             8             4 bytes each             step() bytes each
//
// Blocks have units of 32 bytes, in sizes with some room (roomOf()), so that a node mostly changes where it is: what is behind the
// change moves aside. Else it moves to another block, and its number is written anew in the one place above it, and in the index.
// A node that loses a route or child stays where it is and gives back units of its end.
//
// In preorder the prefixes of an address stand in the order of their lengths, so the longest that is there is the highest bit of
// `routes & wayTo`, and its value comes by one count of bits more. Routes of length 1 to 6 past a node's depth lie in it; the default route
// lies in the tree itself.
//
// Where a path has no choice, it is compressed. A compressed node has its top bit set and holds all the bits of its prefix:
//
//    leaf: a route alone, more than 12 bits below the depth where it stands; its value is in it
//    skip: the way to a node that stands at least 12 bits below
//
// The index holds, for the first 18 bits (IPv4) or 24 (IPv6), the node where they lead, so that a lookup starts there. It is made
// of pages of 64 numbers behind a first one of 4096, comes when the table has grown and goes when it has shrunk, and may be absent
// in whole or in parts: a number that is 0 says nothing.
//
//    IPv4: 12 bits -> page, 6 bits -> node        IPv6: 12 bits -> page, 6 bits -> page, 6 bits -> node
//
// Where nothing stands at its depth, it holds the node six bits above instead, marked by the number's top bit: that is where the
// answer mostly lies, and a lookup need not begin again at the root.
//
// Invariants, which audit() checks:
//   1. A node but the root has a route or a child.
//   2. A leaf is longer than the depth where it stands by more than 12, a skip by 12 or more. The prefix of each begins with the
//      bits that lead to it, with zeros behind its length.
//   3. A skip leads to a node that is not compressed and has two children or a route; it is not a route alone.
//   4. A node with one child and nothing else, but the root, has a child that is not compressed and has two children or a route.
//   5. A node's block has the units that its routes and children ask for, and no two blocks overlap; one number leads to each.
//   6. A number in the index that is not 0 is the node at the index's depth for these bits, or the compressed one on the way that
//      spans it; or, marked, the node six bits above, which is not compressed and has no child there. In a page that is there, each
//      of them has its number.
//   7. size() is the number of routes.
//
// Numbers of nodes have 32 bits, the top one 0, and count 32 bytes from the base of the region (Region.h), which never moves.
//
// Versions. snapshot() gives a tree that stays as this one is, over the same nodes. From then on a change first copies what it is about
// to write and the snapshot has seen: the nodes on the way from the root, as the number that leads to a node stands in the node above it,
// and the pages of the index that these numbers stand in (TreeOwn.cpp). What it has copied once is the tree's own, so the next change
// there is as any other; and where a node is the tree's own, so is all that leads to it. Where there are no versions, nothing of this happens.
//
// The first page of the index, which has 16 KiB, is cut into parts of 64 numbers, found by a page of as many, before a version has the
// first change beside it: so what each further change copies of it is small. A tree that publishes gives away a version with each change
// or batch of them, so each begins with nothing of its own; to copy less, its index has no marked numbers.
// Tested by tests/table/TreeTest.cpp, tests/table/TreeRandomTest.cpp, tests/property/TableRandomTest.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "routetrie/explanation.h"
#include "routetrie/platform/Export.h"
#include "routetrie/statistics.h"
#include "routetrie/table/Arena.h"
#include "routetrie/table/Lengths.h"
#include "routetrie/table/Node.h"
#include "routetrie/table/Store.h"

namespace routetrie::Impl {

#if defined(__POPCNT__) || !(defined(__x86_64__) || defined(__i386__))
inline constexpr bool countsBits = true;
#else
inline constexpr bool countsBits = false;  // as told to the compiler of this program; the machine may well do
#endif

template <unsigned width>
class ROUTETRIE_EXPORT Tree {
   static_assert(width == 32 || width == 128);

  public:
   using Bits = Corenet::AddressBits<width>;

   // `valueSize`: 0, 1, 2, 4 or 8 bytes, aligned to their size.
   explicit Tree(unsigned valueSize) noexcept
      : valueSize_(static_cast<U8>(valueSize)), step_(static_cast<U8>(bytesInNode(valueSize))) {}
   Tree(Tree&& other) noexcept;
   Tree& operator=(Tree&& other) noexcept;
   ~Tree() = default;
   void swap(Tree& other) noexcept;
   Tree clone() const;

   std::size_t size() const noexcept { return size_; }
   // Differs after every change, whatever it was.
   std::uint64_t generation() const noexcept { return generation_; }

   //--- questions: nothing is allocated. A pointer to a value holds until the next change, and is not null where values have no bytes.
   // Bits past a length are zero.

   const void* find(Bits bits, unsigned length) const noexcept;  // null: no route
   struct Match {
      unsigned length;
      const void* value;  // null: none
   };
   // The longest route of at most `maxLength` bits that covers that many bits of these.
   Match match(Bits bits, unsigned maxLength) const noexcept {
      if (maxLength != width) {
         return matchWithin(bits, maxLength);
      }
      Match match;
      return !countsBits ? matchByLibrary(bits) : matchHere(bits, step_, match) ? match : matchFurther(bits);
   }
   // The value of the longest that covers the address. Requires: valueSize is the tree's.
   template <unsigned valueSize>
   const void* lookup(Bits address) const noexcept;
   // Of `count` addresses: calls answer(i, value or null) with query(i), once for each, in any order.
   template <unsigned valueSize, class Query, class Answer>
   void lookupBulk(std::size_t count, Query&& query, Answer&& answer) const noexcept;
   Lengths<width> covering(Bits bits, unsigned maxLength) const noexcept;  // the lengths of those that cover
   bool hasLonger(Bits bits, unsigned length) const noexcept;              // a route under the prefix and longer

   //--- order: by address, then length

   static constexpr unsigned levels = (width + stride - 1) / stride;
   // A place. The path and what follows on it are of use while the tree has the cursor's generation.
   struct Cursor {
      Bits bits;
      unsigned length = 0;
      const void* value = nullptr;
      std::uint64_t generation = 0;
      U64 rows[2] = {0,
                     0};   // the routes of each half of the node that follow this one with no child between, by place
      U32 ahead = 0;       // what else follows on the path: Walk tells its bits
      U8 level = noLevel;  // where the route's node stands; noLevel: not known
      U8 chunk;            // the route's bits there, if there are rows
      U32 path[levels];    // the nodes on the way, by depth; 0 where a skip passes

      static constexpr U8 noLevel = 255;
      Cursor() noexcept {}
   };
   Cursor at(Bits bits, unsigned length, const void* value) const noexcept {
      Cursor cursor;
      cursor.bits = bits;
      cursor.length = length;
      cursor.value = value;
      cursor.generation = generation_;
      return cursor;
   }
   // False: there is none, and the cursor is unspecified. A length of width + 1 means behind everything at these bits.
   bool first(Cursor& cursor) const noexcept { return seek(cursor, Bits(), 0); }
   bool last(Cursor& cursor) const noexcept { return seekBefore(cursor, Bits(Bits::mask(width)), width + 1); }
   bool seek(Cursor& cursor, Bits bits, unsigned length) const noexcept;        // the first at or after
   bool seekBefore(Cursor& cursor, Bits bits, unsigned length) const noexcept;  // the last before
   bool next(Cursor& cursor) const noexcept {
      return cursor.generation != generation_ ? seek(cursor, cursor.bits, cursor.length + 1)
                                              : nextInRow(cursor) || nextFromRow(cursor);
   }
   bool previous(Cursor& cursor) const noexcept;
   // A place among the differences of two trees: TreeTwins.h. They are found in order, with what is there in this tree and in the other;
   // false: there is none, and the place is unspecified. Any change of both is allowed between two steps.
   struct Twins;
   // `byBytes`: equal bytes are equal values, which are of one type; numbers of slots, of the same slots. Then nothing that the two share is
   // looked at, so that differences are found fast for a tree and an earlier version of it. Else each route that both have
   // counts as one that differs.
   //
   // To look at nothing that they share is exact, as equal numbers are equal contents. A node has one number, and is written only by
   // a tree which nobody else has it of: so where two nodes have the same number, all that is under them is one and the same. A
   // node that a tree has written in place since a version was taken of it is in no block which that version has, so all nodes
   // on the way to it have other numbers than the version's, and are looked at.
   bool firstDifference(const Tree& other, Twins& at, bool byBytes) const noexcept;
   bool nextDifference(const Tree& other, Twins& at, bool byBytes) const noexcept;  // behind the place

   //--- changes: what raises has changed nothing

   struct Inserted {
      void* value;
      bool created;
   };
   // Finds the route or makes it. `make` is called for one that is made, with room for the bytes of its value, when all memory is
   // there; where the value lies in the end is in the answer. `writes`: the value of one that was there is to be written.
   Inserted insert(Bits bits, unsigned length, void (*make)(void* context, void* value), void* context,
                   bool writes = false);
   // Needs no memory where there are no versions. The bytes of the value go to `oldValue`, if that is not null.
   bool erase(Bits bits, unsigned length, void* oldValue);
   // After it erase() needs none, of this route and as the next change.
   void prepareErase(Bits bits, unsigned length);
   void clear() noexcept;

   //--- versions: what they hold of a value in a slot is its number; the slots are the table's

   // What is written now may be read by others as well: snapshots, or whoever has a version that was published.
   bool isVersioned() const noexcept { return store_ != nullptr && store_->isVersioned(); }
   // A tree to be read, that stays as this one is now. It refers to memory of this one, which has to be held as long, by a Hold or
   // by readers that are waited for.
   Tree frozen() const noexcept {
      Tree version(valueSize_);
      freezeTo(version);
      return version;
   }
   // The same in place of an earlier version.
   void freezeTo(Tree& version) const noexcept {
      version.base_ = base_;
      version.size_ = size_;
      version.generation_ = generation_;
      version.default_ = default_;
      version.root_ = root_;
      version.index_ = index_;
      version.pages_ = pages_;
      version.hasDefault_ = hasDefault_;
      version.publishes_ = publishes_;
      version.hasParts_ = hasParts_;
   }
   // The memory of the tree and its versions, made if there is none; std::bad_alloc.
   const std::shared_ptr<Store>& store();
   // From now on each version is read by others, until the store is told that they have gone.
   void startPublishing();
   // The same as it is: null if there is none.
   const std::shared_ptr<Store>& storeIfAny() const noexcept { return store_; }

   //--- for developers

   std::string audit() const;
   void dump(std::string& out) const;
   // What a lookup of these bits reads, for the longest route of at most `length` bits.
   std::vector<lookup_read> readsOf(Bits bits, unsigned length) const;
   table_memory memory() const noexcept;
   table_statistics statistics() const;  // by a pass over all nodes

  private:
   friend struct TreeFault;  // breaks invariants, for the tests of audit()
   class Change;
   class Insertion;
   class Walk;
   class TwinWalk;
   class Audit;
   class Census;

   static constexpr unsigned indexDepth = width == 32 ? 18 : 24;
   static constexpr unsigned levelsHere =
      width == 32 ? 0 : (42 - indexDepth) / stride;                  // under the index, of a usual lookup
   static constexpr unsigned indexShift = 64 - stride - indexDepth;  // to six bits of the address's first 64
   static constexpr unsigned groupDepth =
      indexDepth - stride;                        // of the nodes whose children the index holds, 64 numbers in a row
   static constexpr U32 aboveBit = U32{1} << 31;  // marks a number in the index: the node stands at groupDepth
   static constexpr unsigned topBits = 12;
   // Of a new index, what is filled with each change: so many of the first page's numbers, and so many pages and a number's.
   static constexpr unsigned topsAtOnce = 16, pagesAtOnce = 8;
   static constexpr unsigned pageLevels = (indexDepth - topBits) / stride;  // under the first page
   static constexpr std::size_t pageBytes = std::size_t{4} << stride, topBytes = std::size_t{4} << topBits;
   static constexpr unsigned pageUnits = pageBytes >> Region::unitShift, topUnits = topBytes >> Region::unitShift;
   static constexpr std::size_t indexFrom = width == 32 ? 32768 : 8192, indexUntil = indexFrom / 4;  // routes
   static constexpr std::size_t indexBytesARoute = width == 32 ? 40 : 16;  // pages are made while they cost no more

   ROUTETRIE_INLINE const Node* nodes() const noexcept {
      return static_cast<const Node*>(static_cast<const void*>(base_));
   }
   Node& node(U32 number) const noexcept { return static_cast<Node*>(static_cast<void*>(base_))[number]; }
   static constexpr unsigned bytesInNode(unsigned valueSize) noexcept {
      return valueSize == 0 ? 0 : valueSize <= 4 ? 4 : 8;
   }
   unsigned step() const noexcept { return step_; }  // bytes from a value to the next
   static U32& childNumber(Node& n, unsigned chunk) noexcept { return n.numbers()[childRank(n.children, chunk)]; }
   static ROUTETRIE_INLINE U32 childNumber(const Node& n, unsigned chunk) noexcept {
      return n.numbers()[childRank(n.children, chunk)];
   }
   // How many values stand before that of a route.
   static ROUTETRIE_INLINE unsigned valueRank(const Node& n, unsigned half, unsigned place) noexcept {
      return static_cast<unsigned>(std::popcount(below(n.routes[half], place))) +
             (static_cast<unsigned>(std::popcount(n.routes[0])) & (0 - half));
   }
   // In bytes from the node, where a value is, of the route that has so many places above its own in these, the routes of the half.
   static ROUTETRIE_INLINE unsigned valueOffset(const Node& n, unsigned half, U64 routes, unsigned above,
                                                unsigned step) noexcept {
      const unsigned rank = static_cast<unsigned>(std::popcount(routes << above)) - 1 +
                            (static_cast<unsigned>(std::popcount(n.routes[0])) & (0 - half));
      return valuesFrom(n.childCount(), step) + rank * step;
   }
   const void* valueOf(const Node& n, unsigned half, unsigned place) const noexcept {
      return n.bytes() + valuesFrom(n.childCount(), step_) + std::size_t{valueRank(n, half, place)} * step_;
   }
   void* valueOf(Node& n, unsigned half, unsigned place) const noexcept {
      return n.bytes() + valuesFrom(n.childCount(), step_) + std::size_t{valueRank(n, half, place)} * step_;
   }
   const void* defaultValue() const noexcept { return hasDefault_ ? &default_ : nullptr; }

   // The units of a block that so many would do for.
   static constexpr unsigned roomOf(unsigned units) noexcept {
      if (units <= 2) {
         return units;
      }
      const unsigned power = std::bit_ceil(units);
      return power > 4 && units <= power / 4 * 3 ? power / 4 * 3 : power;
   }
   unsigned unitsFor(unsigned children, unsigned routes) const noexcept {
      return roomOf((valuesFrom(children, step_) + routes * step_ + unsigned{sizeof(Node)} - 1) /
                    unsigned{sizeof(Node)});
   }
   unsigned unitsOf(const Node& n) const noexcept {
      return n.isCompressed() ? 1 : unitsFor(n.childCount(), n.routeCount());
   }

   //--- lookups: TreeQuestions.cpp holds them compiled for machines that count bits, for programs that are not
   // False: it is for a search.
   ROUTETRIE_INLINE bool matchHere(Bits address, unsigned step, Match& match) const noexcept;
   // The child that these bits lead to, the shift then that of its bits; the node itself if there is none or it is compressed.
   ROUTETRIE_INLINE U32 childHere(U32 at, U64 bits, unsigned& shift) const noexcept {
      const Node& n = nodes()[at];
      // The child's bit is the top one of these, and counted with those before it.
      const U64 upTo = n.children << (~(bits >> shift) & 63);
      const auto isThere = static_cast<U32>((upTo & ~n.routes[0]) >> 63);
      // Where there is none, what is read lies beside the rest of the node.
      const U32 rank = static_cast<U32>(std::popcount(upTo)) & (0 - isThere);
      const U32 child = *(n.numbers() + rank - 1);
      shift -= stride * isThere;
      return at ^ ((at ^ child) & (0 - isThere));
   }
   // The same for a processor that guesses: false if there is none.
   ROUTETRIE_INLINE bool stepHere(U32& at, U64 bits, unsigned& shift) const noexcept {
      const Node& n = nodes()[at];
      const U64 upTo = n.children << (~(bits >> shift) & 63);
      if ((upTo & ~n.routes[0]) >> 63 == 0) {
         return false;
      }
      at = *(n.numbers() + std::popcount(upTo) - 1);
      shift -= stride;
      return true;
   }
   ROUTETRIE_INLINE U32 indexed(Bits address) const noexcept;
   // Of a node that is on its way, the second line is fetched as well.
   ROUTETRIE_INLINE void fetchRest(U32 at) const noexcept { __builtin_prefetch(nodes()[at].bytes() + 64); }
   static ROUTETRIE_INLINE U64 highBits(Bits address) noexcept {
      if constexpr (width == 32) {
         return U64{address.word()} << 32;
      } else {
         return static_cast<U64>(address.word() >> 64);
      }
   }
   const void* lookupByLibrary(Bits address, unsigned valueSize) const noexcept;
   // The values of up to mostInBurst addresses: TreeBurst.cpp.
   static constexpr unsigned mostInBurst = 32;
   void burst(const Bits* addresses, const void** answers, unsigned count) const noexcept;
   template <unsigned step>
   void burstByOne(const Bits* addresses, const void** answers, unsigned count) const noexcept;
   void burstByEight(const Bits* addresses, const void** answers, unsigned count) const noexcept;
   Match matchFurther(Bits address) const noexcept;
   Match matchWithin(Bits bits, unsigned maxLength) const noexcept;
   Match matchByLibrary(Bits address) const noexcept;

   //--- the index
   unsigned topRoom() const noexcept { return hasParts_ ? pageUnits : topUnits; }
   // What a first page says of these bits.
   ROUTETRIE_INLINE U32 topAt(U32 top, U64 high) const noexcept {
      return hasParts_ ? page(page(top)[high >> (64 - stride)])[high >> (64 - 2 * stride) & 63]
                       : page(top)[high >> (64 - topBits)];
   }
   // And a page that `depth` bits lead to.
   static ROUTETRIE_INLINE unsigned slotAt(U64 high, unsigned depth) noexcept {
      return static_cast<unsigned>(high >> (64 - stride - depth)) & 63;
   }
   void cutTop();
   U32& ownTopAt(U64 high);  // of the index, to be written; std::bad_alloc
   U32* page(U32 block) const noexcept { return static_cast<U32*>(Region::at(base_, block)); }
   // The page that a slot lies in.
   U32 pageOf(const U32* slot) const noexcept {
      return static_cast<U32>((static_cast<const std::byte*>(static_cast<const void*>(slot)) - base_) >>
                              Region::unitShift);
   }
   U32* slotOf(Bits bits) const noexcept;  // null: no page
   U32* ownSlotOf(Bits bits) noexcept;     // the same, to be written; without memory for that, the index goes
   void ownPage(U32& block, unsigned units);
   U32 emptyPage(unsigned units);
   // Calls visit(block, units, level) for all pages under one, itself included, after those under it: level 0 has numbers of nodes.
   template <class Visit>
   void eachPage(U32 block, unsigned level, Visit&& visit) const;
   template <class Visit>
   void eachPageOfIndex(U32 top, Visit&& visit) const;
   U32* openPage(Bits bits) noexcept;  // null: it would not pay, or no memory
   U32 standing(Bits bits, unsigned atDepth) const noexcept;
   template <class Visit>
   void standings(U32 at, unsigned depth, Bits bits, Bits within, unsigned shared, Visit&& visit) const;
   bool beginIndex() noexcept;
   void buildIndex() noexcept;
   void fillIndex(Bits within, unsigned shared) noexcept;
   void fillSome() noexcept;
   void dropIndex() noexcept;
   void dropLostIndex() noexcept;
   void fillPage(Bits bits) noexcept;
   void writeGroup(U32* slots, U32 at) noexcept;
   void touchGroup(Bits bits) noexcept;              // what these bits lead to may have changed
   void touchChild(U32 parent, Bits bits) noexcept;  // one of a node at the group's depth came or went
   // A node has this number now.
   void touchMoved(U32 at, Bits bits, unsigned depth) noexcept {
      if (index_ != 0 && depth <= indexDepth &&
          (depth == indexDepth || (depth == groupDepth && !publishes_) || node(at).isCompressed())) {
         touchKnown(at, bits, depth);
      }
   }
   void touchKnown(U32 at, Bits bits, unsigned depth) noexcept;
   void resizeIndex() noexcept;

   //--- changes
   void needStore();
   void needRoot();
   bool tend() noexcept;  // before a change; whether there are versions
   // Where a change begins: a node, and where its number stands.
   struct Start {
      U32 at;
      unsigned depth;
      void* link;  // null: it has to be looked for
   };
   Inserted inserted(void* place) noexcept;
   void fetchWay(Bits bits, unsigned length) const noexcept;
   // The nodes on the way to a route, and where in each the number of the next stands, in bytes.
   struct Way {
      struct Step {
         U32 at;
         U16 depth;
         U16 next;
      };
      const Step& last() const noexcept { return steps[count - 1]; }

      unsigned count;
      Step steps[levels];
   };
   void goTo(Way& way, Bits bits, unsigned length) const noexcept;
   void* routeAt(const Way& way, Bits bits, unsigned length) const noexcept;
   Start own(Way& way, Bits bits, bool all);
   U32 ownNode(U32 at);
   static U32 linked(const void* link) noexcept {
      U32 number;
      std::memcpy(&number, link, sizeof number);
      return number;
   }
   void* linkTo(Bits bits, unsigned depth) noexcept;
   U32 startFor(Bits bits, unsigned length, unsigned& depth) const noexcept;
   bool shape(Node& n, Bits bits, unsigned depth) noexcept;
   Node leafFrom(const Node& n, Bits bits, unsigned depth) const noexcept;
   void dropRoute(U32 at, unsigned half, unsigned place) noexcept;
   void dropChild(U32 at, unsigned chunk) noexcept;
   void shrink(U32 at, unsigned from, unsigned to) noexcept;
   static bool isBare(const Node& n) noexcept {
      return n.isCompressed() || (n.hasRoutes() ? n.children == 0 && n.routeCount() == 1 : n.childCount() <= 1);
   }
   U32 copyOf(U32 at, Tree& to) const;
   bool setDefault(Cursor& cursor) const noexcept;
   ROUTETRIE_INLINE bool nextInRow(Cursor& cursor) const noexcept;
   bool nextFromRow(Cursor& cursor) const noexcept;
   template <bool forward>
   bool seekWay(Cursor& cursor, Bits bits, unsigned length) const noexcept;
   void dumpNode(std::string& out, const Node& n, unsigned depth, Bits bits, unsigned indent) const;
   void forget() noexcept;

   std::byte* base_ = Region::nothing();
   std::shared_ptr<Store> store_;  // comes with the first route; a frozen one has none
   std::size_t size_ = 0;
   std::uint64_t generation_ = 0;
   U64 default_ = 0;  // value of the default route
   U32 root_ = 0;     // a node; 0: there was no route yet
   U32 index_ = 0;    // block of the first page; 0: none, and the zeros at the base are read
   U32 pages_ = 0;    // all but the first
   U8 valueSize_;
   U8 step_;
   bool hasDefault_ = false;
   bool publishes_ = false;
   bool hasParts_ = false;  // the first page of the index
   U16 topsToFill_ = 0;     // so many of the first page's numbers, the lowest, have not been looked at
};

//--- lookups ---

template <unsigned width>
ROUTETRIE_INLINE U32 Tree<width>::indexed(Bits address) const noexcept {
   const U64 high = highBits(address);
   U32 number = topAt(index_, high);
   for (unsigned depth = topBits; depth != indexDepth; depth += stride) {
      number = page(number)[slotAt(high, depth)];
   }
   return number;
}

// Down by the children's bits alone to where they end, for the usual number of levels; the longest route is mostly there. What it is
// not, one branch sends to a search that looks at everything. A processor keeps as many lookups under way as it has room for
// instructions that wait for a line of memory, so these are few.
template <unsigned width>
ROUTETRIE_INLINE bool Tree<width>::matchHere(Bits address, unsigned step, Match& match) const noexcept {
   const U32 number = indexed(address);
   U32 at = number & ~aboveBit;
   const U64 bits = highBits(address);
   unsigned shift = indexShift + (number >> 31) * stride;
   fetchRest(at);
   for (unsigned level = 0; level < levelsHere && stepHere(at, bits, shift); ++level) {
      fetchRest(at);
   }
   const Node* const n = nodes() + at;
   const unsigned chunk = static_cast<unsigned>(bits >> shift) & 63;
   const unsigned half = chunk >> 5;
   const U64 routes = n->routes[half];
   const U64 covering = routes & wayTo[chunk & 31];
   if (covering == 0 || (n->children >> chunk & 1) != 0 || n->isCompressed()) [[unlikely]] {
      return false;
   }
   const auto above = static_cast<unsigned>(std::countl_zero(covering));
   match.length = 64 - stride - shift + places[63 - above].length;
   match.value = n->bytes() + valueOffset(*n, half, routes, above, step);
   return true;
}

template <unsigned width>
template <unsigned valueSize>
inline const void* Tree<width>::lookup(Bits address) const noexcept {
   if constexpr (countsBits) {
      Match match;
      if (matchHere(address, bytesInNode(valueSize), match)) [[likely]] {
         return match.value;
      }
      return matchFurther(address).value;
   } else {
      return lookupByLibrary(address, valueSize);
   }
}

template <unsigned width>
template <unsigned valueSize, class Query, class Answer>
void Tree<width>::lookupBulk(std::size_t count, Query&& query, Answer&& answer) const noexcept {
   Bits addresses[mostInBurst];
   const void* answers[mostInBurst];
   for (std::size_t done = 0; done < count;) {
      const auto piece = static_cast<unsigned>(count - done < mostInBurst ? count - done : mostInBurst);
      for (unsigned i = 0; i < piece; ++i) {
         addresses[i] = query(done + i);
      }
      burst(addresses, answers, piece);
      for (unsigned i = 0; i < piece; ++i) {
         answer(done + i, answers[i]);
      }
      done += piece;
   }
}

//--- order ---

// Most steps are along the rows. False: this is not one of them. Without branches, as one would be guessed wrong where the second begins.
template <unsigned width>
ROUTETRIE_INLINE bool Tree<width>::nextInRow(Cursor& cursor) const noexcept {
   const U64 first = cursor.rows[0];
   const U64 second = cursor.rows[1];
   const bool isSecond = first == 0;
   const U64 row = isSecond ? second : first;
   if (row == 0) {
      return false;
   }
   cursor.rows[0] = first & (first - 1);
   cursor.rows[1] = isSecond ? second & (second - 1) : second;
   const Place to = places[static_cast<unsigned>(std::countr_zero(row))];
   const unsigned depth = cursor.level * stride;
   const unsigned chunk = to.low | unsigned{isSecond} << 5;
   cursor.bits = Bits(cursor.bits.word() ^ withChunk(Bits(), depth, cursor.chunk ^ chunk).word());
   cursor.chunk = static_cast<U8>(chunk);
   cursor.length = depth + to.length;
   // The values of both halves lie in a row as well.
   cursor.value = static_cast<const std::byte*>(cursor.value) + step();
   return true;
}

}  // namespace routetrie::Impl
