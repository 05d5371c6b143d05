// PatriciaTrieKey: what the engine asks of keys and prefixes, in both prefix types: how many bits two share, the full
// address of a prefix, the default prefix of a family, and the prefix of a route from the node that holds it.
// Tested by tests/trie/patricia/PatriciaTrieKeyTest.cpp.
#pragma once

#include "routetrie/platform/Corenet/AddrWithMask.h"
#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corenet/IpAddr.h"
#include "routetrie/platform/Corenet/IpGenAddr.h"
#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/patricia/PatriciaTrieNodeImpl.h"

namespace Routing {

using PatriciaTrieImpl::PatriciaTrieNode;
using PatriciaTrieImpl::PatriciaTrieNodeType;
using PatriciaTrieImpl::RoutePrefix;

// The number of leading bits that the two keys share, never more than `maxLen`. Asserts "key1.af() == key2.af()". Keys
// of no family share nothing. Two equal IPv6 keys share at most 128 bits whatever `maxLen`, two equal IPv4 keys `maxLen`.
// <IpGenAddr, IpGenPrefix> and <CompactIpPrefix, CompactIpPrefix>.
template <class AddressType, class PrefixType>
U32 commonPrefixLenImpl(const AddressType& key1, const PrefixType& key2, U32 maxLen);

// The full IPv6 address of a prefix, zeros past its length; the zero address for any other family.
template <RoutePrefix PrefixType>
Corenet::Ip6Addr prefixToV6Addr(const PrefixType& prefix);

// 0.0.0.0/0 or ::/0. Asserts for any other family.
template <RoutePrefix PrefixType>
PrefixType getDefaultPrefix(Corenet::AddressFamily af);

// The node's key with all bits past `len` cleared, as a prefix of that length. The empty value if the key has no
// family. Raises Corvid::RangeException if `len` makes no valid prefix.
template <RoutePrefix PrefixType>
PrefixType getSubnetFromNode(const PatriciaTrieNode* node, PatriciaTrieNodeType type, U32 len);

// Cuts an address to a prefix of `len` bits, for debugging; the empty value for an address without a family. Raises
// Corvid::RangeException if `len` makes no valid prefix.
ROUTETRIE_EXPORT Corenet::IpGenPrefix pfx(const Corenet::IpGenAddr& addr, U32 len);

extern template ROUTETRIE_EXPORT U32 commonPrefixLenImpl(const Corenet::IpGenAddr&, const Corenet::IpGenPrefix&, U32);
extern template ROUTETRIE_EXPORT U32 commonPrefixLenImpl(const Corenet::CompactIpPrefix&,
                                                         const Corenet::CompactIpPrefix&, U32);
extern template ROUTETRIE_EXPORT Corenet::Ip6Addr prefixToV6Addr(const Corenet::IpGenPrefix&);
extern template ROUTETRIE_EXPORT Corenet::Ip6Addr prefixToV6Addr(const Corenet::CompactIpPrefix&);
extern template ROUTETRIE_EXPORT Corenet::IpGenPrefix getDefaultPrefix(Corenet::AddressFamily);
extern template ROUTETRIE_EXPORT Corenet::CompactIpPrefix getDefaultPrefix(Corenet::AddressFamily);
extern template ROUTETRIE_EXPORT Corenet::IpGenPrefix getSubnetFromNode(const PatriciaTrieNode*, PatriciaTrieNodeType,
                                                                        U32);
extern template ROUTETRIE_EXPORT Corenet::CompactIpPrefix getSubnetFromNode(const PatriciaTrieNode*,
                                                                            PatriciaTrieNodeType, U32);

}  // namespace Routing
