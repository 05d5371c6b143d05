#include "routetrie/trie/patricia/PatriciaTrieNodeImpl.h"

#include <ostream>

namespace PatriciaTrieImpl {

Tesk::AllocTrackTypeInfo* PatriciaTrieV4Node::memAllocationTracker_ = nullptr;
Tesk::AllocTrackTypeInfo* PatriciaTrieV6Node::memAllocationTracker_ = nullptr;
Tesk::AllocTrackTypeInfo* PatriciaTrieV6CompactNode::memAllocationTracker_ = nullptr;

PatriciaTrieNodeType patriciaTrieNodeType(Corenet::AddressFamily af, bool useCompactIpPrefix) {
   switch (af) {
      case Corenet::AddressFamily::ipv4: return nodeTypeIpv4();
      case Corenet::AddressFamily::ipv6: return useCompactIpPrefix ? nodeTypeIpv6Compact() : nodeTypeIpv6Legacy();
      default: ROUTETRIE_ASSERT(false); return nodeTypeIpv4();
   }
}

//--- a node whose class its trie knows ---

U32 PatriciaTrieNode::len(PatriciaTrieNodeType type) const {
   return trieVisit<NodePicker>(type, this, [](auto* node) { return node->len(); });
}
Corenet::IpGenAddr PatriciaTrieNode::prefix(PatriciaTrieNodeType type) const {
   return trieVisit<NodePicker>(type, this, [](auto* node) { return node->prefix(); });
}
Corenet::CompactIpPrefix PatriciaTrieNode::compactPrefix(PatriciaTrieNodeType type) const {
   return trieVisit<NodePicker>(type, this, [](auto* node) { return node->compactPrefix(); });
}
bool PatriciaTrieNode::black(U32 length, PatriciaTrieNodeType type) const {
   return trieVisit<NodePicker>(type, this, [&](auto* node) { return node->black(length); });
}
void PatriciaTrieNode::blackIs(U32 length, bool value, PatriciaTrieNodeType type) {
   trieVisit<NodePicker>(type, this, [&](auto* node) { node->blackIs(length, value); });
}
U32* PatriciaTrieNode::blackBits(PatriciaTrieNodeType type) {
   return trieVisit<NodePicker>(type, this, [](auto* node) { return node->blackBits(); });
}
void PatriciaTrieNode::blackBitsIs(U32* bits, PatriciaTrieNodeType type) {
   trieVisit<NodePicker>(type, this, [&](auto* node) { node->blackBitsIs(bits); });
}
bool PatriciaTrieNode::isWhite(PatriciaTrieNodeType type) const {
   return trieVisit<NodePicker>(type, this, [](auto* node) { return node->isWhite(); });
}
void PatriciaTrieNode::mergeBlack(PatriciaTrieNode* other, PatriciaTrieNodeType type) {
   trieVisit<NodePicker>(type, this, [&](auto* node) { node->mergeBlack(other); });
}
void PatriciaTrieNode::minBlackBitIs(U32 length, PatriciaTrieNodeType type) {
   trieVisit<NodePicker>(type, this, [&](auto* node) { node->minBlackBitIs(length); });
}
void PatriciaTrieNode::maxBlackBitIs(U32 length, PatriciaTrieNodeType type) {
   trieVisit<NodePicker>(type, this, [&](auto* node) { node->maxBlackBitIs(length); });
}
U32 PatriciaTrieNode::firstBlack(PatriciaTrieNodeType type) const {
   return trieVisit<NodePicker>(type, this, [](auto* node) { return node->firstBlack(); });
}
U32 PatriciaTrieNode::nextBlack(U32 length, PatriciaTrieNodeType type) const {
   return trieVisit<NodePicker>(type, this, [&](auto* node) { return node->nextBlack(length); });
}
U32 PatriciaTrieNode::prevBlack(U32 length, PatriciaTrieNodeType type) const {
   return trieVisit<NodePicker>(type, this, [&](auto* node) { return node->prevBlack(length); });
}
U32 PatriciaTrieNode::lastBlack(PatriciaTrieNodeType type) const {
   return trieVisit<NodePicker>(type, this, [](auto* node) { return node->lastBlack(); });
}
std::ostream& PatriciaTrieNode::dump(std::ostream& out, PatriciaTrieNodeType type) const {
   return trieVisit<NodePicker>(type, this, [&](auto* node) -> std::ostream& { return node->dump(out); });
}

//--- IPv4 ---

PatriciaTrieV4Node::PatriciaTrieV4Node(const Corenet::CompactIpPrefix& prefix, bool black) : prefix_(prefix) {
   const U32 _prefixLen = prefix.len();
   ROUTETRIE_ASSERT(_prefixLen <= 32);
   blackBits_.clear();
   blackBits_.onlyBlackIs(_prefixLen, black);
}

PatriciaTrieV4Node::PatriciaTrieV4Node(U32 len, const Corenet::Prefix& prefix, bool black) {
   ROUTETRIE_ASSERT(len <= 32);
   prefix_ = Corenet::CompactIpPrefix(Corenet::Prefix::cut(prefix.bits(), len));
   blackBits_.clear();
   blackBits_.onlyBlackIs(len, black);
}

std::ostream& PatriciaTrieV4Node::dump(std::ostream& out) const {
   return out << prefix_ << '/' << static_cast<char>(len()) << "[ " << std::hex << *blackBits() << std::dec << " ]";
}

std::ostream& operator<<(std::ostream& out, PatriciaTrieV4Node* node) { return node->dump(out); }

//--- IPv6 ---

std::ostream& PatriciaTrieV6NodeBase::dumpBlackBits(std::ostream& out) const {
   const char* separator = "[";
   out << std::hex;
   for (const U32 word : blackBits_.words) {
      out << separator << word;
      separator = ", ";
   }
   return out << std::dec << ']';
}

PatriciaTrieV6Node::PatriciaTrieV6Node(U32 len, const Corenet::Ip6Prefix& prefix, bool black)
   : len_(len), addr_(prefix.bits().cut(len)) {
   ROUTETRIE_ASSERT(len <= 128);
   blackBits_.clear();
   blackBits_.onlyBlackIs(len, black);
}

PatriciaTrieV6Node::PatriciaTrieV6Node(const Corenet::CompactIpPrefix& prefix, bool black)
   : addr_(prefix.bits<width>()) {
   const U32 _prefixLen = prefix.len();
   ROUTETRIE_ASSERT(_prefixLen <= 128);
   blackBits_.onlyBlackIs(_prefixLen, black);
}

std::ostream& PatriciaTrieV6Node::dump(std::ostream& out) const {
   return dumpBlackBits(out << addr_ << '/' << std::dec << len_);
}

std::ostream& operator<<(std::ostream& out, PatriciaTrieV6Node* node) { return node->dump(out); }

//--- IPv6 with keys of one word ---

PatriciaTrieV6CompactNode::PatriciaTrieV6CompactNode(U32 len, const Corenet::Ip6Prefix& prefix, bool black) {
   ROUTETRIE_ASSERT(len <= 128);
   prefix_ = Corenet::CompactIpPrefix(Corenet::Ip6Prefix::cut(prefix.bits(), len));
   blackBits_.clear();
   blackBits_.onlyBlackIs(len, black);
}

PatriciaTrieV6CompactNode::PatriciaTrieV6CompactNode(const Corenet::CompactIpPrefix& prefix, bool black)
   : prefix_(prefix) {
   const U32 _prefixLen = prefix.len();
   ROUTETRIE_ASSERT(_prefixLen <= 128);
   blackBits_.onlyBlackIs(_prefixLen, black);
}

std::ostream& PatriciaTrieV6CompactNode::dump(std::ostream& out) const { return dumpBlackBits(out << prefix_); }

}  // namespace PatriciaTrieImpl
