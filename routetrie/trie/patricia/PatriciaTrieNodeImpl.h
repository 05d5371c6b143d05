// PatriciaTrieNode: one compressed edge of a PatriciaTrie, in three classes chosen once per trie.
//
// A node has a key, an address and a length L in bits, which stands for the whole path from the parent's key down to
// L. Every prefix on that path may be a route, and the node's black bits say which are. Routes that nest on one path
// so share one node:
//
//                 0.0.0.0/0                 no black length: a branch
//               0/         \1
//    10.1.2.0/24             128.0.0.0/1    black {1}
//    black {8, 16, 24}                      10.0.0.0/8, 10.1.0.0/16 and 10.1.2.0/24 in one node
//
// I1 a node has two children or none.
// I2 a child's key extends its parent's by at least one bit, the first of which is 0 under left_ and 1 under right_.
// I3 a node's black lengths lie above its parent's key length and at most at its own.
// I4 only the root's key may have length 0; the default route is in no node.
// I5 address bits past the key's length are zero.
// A leaf's key may run past its last black length, and a node may be white: a branch, or a leaf whose routes all moved
// to a new branch above it. A white leaf may stand: nothing seeks it out.
//
// A node has no virtual operation, no type and no parent pointer, so every operation that depends on the class takes
// the trie's node type. Sizes: 32 bytes (IPv4), 56 (IPv6 legacy), 40 (IPv6 compact).
//
// Tested by tests/trie/patricia/PatriciaTrieNodeImplTest.cpp (`drawing` builds this tree).
// Source: Morrison, "PATRICIA", JACM 15(4), 1968; black bits after the prefix bitmaps of Degermark et al., 1997.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <iosfwd>
#include <type_traits>
#include <utility>

#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corenet/Ip6Prefix.h"
#include "routetrie/platform/Corenet/IpGenAddr.h"
#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/patricia/BlackBits.h"

namespace PatriciaTrieImpl {

enum class PatriciaTrieNodeType : U8 {
   nodeTypeIpv4_ = 0,        // PatriciaTrieV4Node
   nodeTypeIpv6Legacy_ = 1,  // PatriciaTrieV6Node: length and address inline; fed by updateRoute
   nodeTypeIpv6Compact_ = 2  // PatriciaTrieV6CompactNode: one word, long keys shared; fed by updateRouteCompact
};

constexpr PatriciaTrieNodeType nodeTypeIpv4() { return PatriciaTrieNodeType::nodeTypeIpv4_; }
constexpr PatriciaTrieNodeType nodeTypeIpv6Legacy() { return PatriciaTrieNodeType::nodeTypeIpv6Legacy_; }
constexpr PatriciaTrieNodeType nodeTypeIpv6Compact() { return PatriciaTrieNodeType::nodeTypeIpv6Compact_; }

// The node type of a trie of that family; IPv4 has one only. Asserts "false" for a family that is neither.
ROUTETRIE_EXPORT PatriciaTrieNodeType patriciaTrieNodeType(Corenet::AddressFamily af, bool useCompactIpPrefix);

// The prefix types that the engine is instantiated for.
template <class P>
concept RoutePrefix = std::same_as<P, Corenet::IpGenPrefix> || std::same_as<P, Corenet::CompactIpPrefix>;

class PatriciaTrieV4Node;
class PatriciaTrieV6Node;
class PatriciaTrieV6CompactNode;

// The three plain node classes, for trieVisit.
struct NodePicker {
   using Ipv4 = PatriciaTrieV4Node;
   using Ipv6Legacy = PatriciaTrieV6Node;
   using Ipv6Compact = PatriciaTrieV6CompactNode;
};

// Calls `visitor` with std::type_identity of the class that `type` selects in Branches. Resolved by one switch, so a
// caller that descends inside the visitor pays for it once.
template <class Branches, class Visitor>
decltype(auto) nodeClassVisit(PatriciaTrieNodeType type, Visitor&& visitor) {
   switch (type) {
      case PatriciaTrieNodeType::nodeTypeIpv4_: return visitor(std::type_identity<typename Branches::Ipv4>{});
      case PatriciaTrieNodeType::nodeTypeIpv6Legacy_:
         return visitor(std::type_identity<typename Branches::Ipv6Legacy>{});
      case PatriciaTrieNodeType::nodeTypeIpv6Compact_:
         return visitor(std::type_identity<typename Branches::Ipv6Compact>{});
   }
   ROUTETRIE_ASSERT(false, "false && \"Address family is neither IPv4 nor IPv6\"");
   __builtin_unreachable();
}

// Calls `visitor` with `node` as the class that `type` selects in Branches.
template <class Branches, class NodePointer, class Visitor>
decltype(auto) trieVisit(PatriciaTrieNodeType type, NodePointer node, Visitor&& visitor) {
   return nodeClassVisit<Branches>(type, [&]<class N>(std::type_identity<N>) -> decltype(auto) {
      using Target = std::conditional_t<std::is_const_v<std::remove_pointer_t<NodePointer>>, const N, N>;
      return visitor(static_cast<Target*>(node));
   });
}

class ROUTETRIE_EXPORT PatriciaTrieNode {
  public:
   PatriciaTrieNode() noexcept = default;
   PatriciaTrieNode(const PatriciaTrieNode&) = delete;
   PatriciaTrieNode& operator=(const PatriciaTrieNode&) = delete;

   bool isLeaf() const noexcept { return left_ == nullptr && right_ == nullptr; }

   // Each forwards to the operation of the same name of the class that `type` selects; lengths are in bits.
   U32 len(PatriciaTrieNodeType type) const;
   Corenet::IpGenAddr prefix(PatriciaTrieNodeType type) const;
   Corenet::CompactIpPrefix compactPrefix(PatriciaTrieNodeType type) const;
   template <RoutePrefix PrefixType>
   void prefixIs(const PrefixType& prefix, PatriciaTrieNodeType type);

   bool black(U32 length, PatriciaTrieNodeType type) const;
   void blackIs(U32 length, bool value, PatriciaTrieNodeType type);
   U32* blackBits(PatriciaTrieNodeType type);
   void blackBitsIs(U32* bits, PatriciaTrieNodeType type);
   bool isWhite(PatriciaTrieNodeType type) const;
   void mergeBlack(PatriciaTrieNode* other, PatriciaTrieNodeType type);
   void minBlackBitIs(U32 length, PatriciaTrieNodeType type);
   void maxBlackBitIs(U32 length, PatriciaTrieNodeType type);
   U32 firstBlack(PatriciaTrieNodeType type) const;
   U32 nextBlack(U32 length, PatriciaTrieNodeType type) const;
   U32 prevBlack(U32 length, PatriciaTrieNodeType type) const;
   U32 lastBlack(PatriciaTrieNodeType type) const;

   std::ostream& dump(std::ostream& out, PatriciaTrieNodeType type) const;

   // Owned by this node, and null together in a leaf.
   PatriciaTrieNode* left_ = nullptr;
   PatriciaTrieNode* right_ = nullptr;

  protected:
   ~PatriciaTrieNode() = default;
};

// The operations on black bits that need no key, once for the classes that keep a BlackBits member `blackBits_`.
template <class Self>
class BlackBitNode : public PatriciaTrieNode {
  public:
   bool black(U32 length) const noexcept { return self().blackBits_.black(length); }
   void blackIs(U32 length, bool value) noexcept { self().blackBits_.blackIs(length, value); }
   U32* blackBits() noexcept { return self().blackBits_.words; }
   const U32* blackBits() const noexcept { return self().blackBits_.words; }
   bool isWhite() const noexcept { return self().blackBits_.isWhite(); }
   // Takes over all of the other's black lengths, uncut.
   void mergeBlack(PatriciaTrieNode* other) noexcept {
      self().blackBits_.merge(static_cast<Self*>(other)->blackBits_.words);
   }
   // Clears every length up to and including `length`, and every length above it.
   void minBlackBitIs(U32 length) noexcept { self().blackBits_.clearUpTo(length); }
   void maxBlackBitIs(U32 length) noexcept { self().blackBits_.clearAbove(length); }
   // The greatest black length that is at most `length`; the bound is inclusive, unlike nextBlack's.
   U32 prevBlack(U32 length) const noexcept { return self().blackBits_.prev(length); }
   U32 lastBlack() const noexcept { return self().blackBits_.last(); }

  private:
   friend Self;
   BlackBitNode() noexcept = default;

   Self& self() noexcept { return static_cast<Self&>(*this); }
   const Self& self() const noexcept { return static_cast<const Self&>(*this); }
};

class ROUTETRIE_EXPORT PatriciaTrieV4Node : public BlackBitNode<PatriciaTrieV4Node> {
  public:
   static constexpr U32 width = Corenet::Prefix::width;
   static constexpr Corenet::AddressFamily family = Corenet::Prefix::family;
   using KeyPrefix = Corenet::Prefix;

   // Asserts "_prefixLen <= 32" unless the value is null.
   PatriciaTrieV4Node(const Corenet::CompactIpPrefix& prefix, bool black);
   // The key is the first `len` bits of the prefix. Asserts "len <= 32".
   PatriciaTrieV4Node(U32 len, const Corenet::Prefix& prefix, bool black);

   U32 len() const noexcept { return prefix_.len(); }
   Corenet::AddressBits<width> bits() const noexcept { return prefix_.bits<width>(); }
   // The zero address if the key is not an IPv4 value.
   Corenet::IpGenAddr prefix() const noexcept { return Corenet::IpAddr(bits()); }
   Corenet::CompactIpPrefix compactPrefix() const noexcept { return prefix_; }
   // Neither masks the prefix nor touches black bits. Asserts "len <= 32".
   template <RoutePrefix PrefixType>
   void prefixIs(const PrefixType& prefix) {
      const U32 len = prefix.len();
      ROUTETRIE_ASSERT(len <= 32);
      prefix_ = Corenet::CompactIpPrefix(prefix);
   }

   void blackBitsIs(U32* bits) noexcept { blackBits_.mergeUpTo(bits, len()); }
   U32 firstBlack() const noexcept { return blackBits_.first(len()); }
   U32 nextBlack(U32 length) const noexcept { return blackBits_.next(length, len()); }

   U32 mask(U32 len) const noexcept { return Corenet::AddressBits<width>::mask(len); }
   // "TEXT/L[ WORD ]", with L as one raw byte and the word in hexadecimal.
   std::ostream& dump(std::ostream& out) const;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<PatriciaTrieV4Node>(bytes); }
   static void* operator new(std::size_t, void* memory) noexcept { return memory; }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PatriciaTrieV4Node>(memory, bytes);
   }

  private:
   friend class BlackBitNode<PatriciaTrieV4Node>;

   Corenet::CompactIpPrefix prefix_;
   BlackBits<1> blackBits_;
};

class ROUTETRIE_EXPORT PatriciaTrieV6NodeBase : public BlackBitNode<PatriciaTrieV6NodeBase> {
  public:
   static constexpr U32 width = Corenet::Ip6Prefix::width;
   static constexpr Corenet::AddressFamily family = Corenet::Ip6Prefix::family;
   using KeyPrefix = Corenet::Ip6Prefix;

   // The mask of address word `word` for a prefix of `len` bits, in host order. Asserts "word < 4".
   U32 mask(U32 word, U32 len) const {
      ROUTETRIE_ASSERT(word < 4);
      return BlackBits<4>::maskUpTo(word, len);
   }
   void blackBitsIs(U32* bits, U32 len) noexcept { blackBits_.mergeUpTo(bits, len); }

  protected:
   friend class BlackBitNode<PatriciaTrieV6NodeBase>;
   PatriciaTrieV6NodeBase() noexcept = default;

   std::ostream& dumpBlackBits(std::ostream& out) const;

   BlackBits<4> blackBits_;
};

class ROUTETRIE_EXPORT PatriciaTrieV6Node : public PatriciaTrieV6NodeBase {
  public:
   // The key is the first `len` bits of the prefix. Asserts "len <= 128".
   PatriciaTrieV6Node(U32 len, const Corenet::Ip6Prefix& prefix, bool black);
   // Writes the address and the one black word that holds the key's length, nothing else: the caller supplies zeroed
   // memory and sets the length. Asserts "_prefixLen <= 128".
   PatriciaTrieV6Node(const Corenet::CompactIpPrefix& prefix, bool black);

   U32 len() const noexcept { return len_; }
   Corenet::AddressBits<width> bits() const noexcept { return addr_.bits(); }
   Corenet::IpGenAddr prefix() const noexcept { return addr_; }
   // Raises Corvid::RangeException if the key has host bits.
   Corenet::CompactIpPrefix compactPrefix() const { return Corenet::Ip6Prefix(addr_, len_); }
   // Neither masks the prefix nor touches black bits. Asserts "len <= 128".
   template <RoutePrefix PrefixType>
   void prefixIs(const PrefixType& prefix) {
      const U32 len = prefix.len();
      ROUTETRIE_ASSERT(len <= 128);
      len_ = len;
      addr_ = Corenet::Ip6Addr(prefix.template bits<width>());
   }

   void blackBitsIs(U32* bits) noexcept { blackBits_.mergeUpTo(bits, len()); }
   U32 firstBlack() const noexcept { return blackBits_.first(len()); }
   U32 nextBlack(U32 length) const noexcept { return blackBits_.next(length, len()); }

   // "ADDRESS/L[WORD, WORD, WORD, WORD]", with L in decimal and the words in hexadecimal.
   std::ostream& dump(std::ostream& out) const;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<PatriciaTrieV6Node>(bytes); }
   static void* operator new(std::size_t, void* memory) noexcept { return memory; }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PatriciaTrieV6Node>(memory, bytes);
   }

  private:
   U32 len_;
   Corenet::Ip6Addr addr_;
};

class ROUTETRIE_EXPORT PatriciaTrieV6CompactNode : public PatriciaTrieV6NodeBase {
  public:
   // The key is the first `len` bits of the prefix. Asserts "len <= 128".
   PatriciaTrieV6CompactNode(U32 len, const Corenet::Ip6Prefix& prefix, bool black);
   // Writes the key and the one black word that holds its length, nothing else: the caller supplies zeroed memory.
   // Asserts "_prefixLen <= 128" unless the value is null.
   PatriciaTrieV6CompactNode(const Corenet::CompactIpPrefix& prefix, bool black);

   U32 len() const noexcept { return prefix_.len(); }
   Corenet::AddressBits<width> bits() const noexcept { return prefix_.bits<width>(); }
   Corenet::IpGenAddr prefix() const noexcept { return Corenet::Ip6Addr(bits()); }
   Corenet::CompactIpPrefix compactPrefix() const noexcept { return prefix_; }
   // Neither masks the prefix nor touches black bits. Asserts "len <= 128".
   template <RoutePrefix PrefixType>
   void prefixIs(const PrefixType& prefix) {
      const U32 len = prefix.len();
      ROUTETRIE_ASSERT(len <= 128);
      prefix_ = Corenet::CompactIpPrefix(prefix);
   }

   void blackBitsIs(U32* bits) noexcept { blackBits_.mergeUpTo(bits, len()); }
   U32 firstBlack() const noexcept { return blackBits_.first(len()); }
   U32 nextBlack(U32 length) const noexcept { return blackBits_.next(length, len()); }

   // "TEXT[WORD, WORD, WORD, WORD]", with the words in hexadecimal.
   std::ostream& dump(std::ostream& out) const;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<PatriciaTrieV6CompactNode>(bytes); }
   static void* operator new(std::size_t, void* memory) noexcept { return memory; }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PatriciaTrieV6CompactNode>(memory, bytes);
   }

  private:
   Corenet::CompactIpPrefix prefix_;
};

static_assert(sizeof(PatriciaTrieNode) == 16);
static_assert(sizeof(PatriciaTrieV4Node) == 32);
static_assert(sizeof(PatriciaTrieV6Node) == 56);
static_assert(sizeof(PatriciaTrieV6CompactNode) == 40);

template <RoutePrefix PrefixType>
void PatriciaTrieNode::prefixIs(const PrefixType& prefix, PatriciaTrieNodeType type) {
   trieVisit<NodePicker>(type, this, [&](auto* node) { node->prefixIs(prefix); });
}

// Both call dump.
ROUTETRIE_EXPORT std::ostream& operator<<(std::ostream& out, PatriciaTrieV4Node* node);
ROUTETRIE_EXPORT std::ostream& operator<<(std::ostream& out, PatriciaTrieV6Node* node);

}  // namespace PatriciaTrieImpl
