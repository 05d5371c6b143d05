#include "routetrie/trie/patricia/PatriciaTrieKey.h"

#include <algorithm>
#include <concepts>

#include "routetrie/platform/Corvid/Assert.h"

namespace Routing {

template <class AddressType, class PrefixType>
U32 commonPrefixLenImpl(const AddressType& key1, const PrefixType& key2, U32 maxLen) {
   ROUTETRIE_ASSERT(key1.af() == key2.af());
   switch (key1.af()) {
      case Corenet::AddressFamily::ipv4: {
         ROUTETRIE_ASSERT(key2.af() == Corenet::ipv4());  // cannot fail: the families were compared above
         const auto bits = key1.template bits<32>();
         const auto otherBits = key2.template bits<32>();
         return bits == otherBits ? maxLen : std::min(maxLen, bits.commonLength(otherBits));
      }
      case Corenet::AddressFamily::ipv6:
         ROUTETRIE_ASSERT(key2.af() == Corenet::ipv6());  // cannot fail: the families were compared above
         return std::min(maxLen, key1.template bits<128>().commonLength(key2.template bits<128>()));
      default: return 0;
   }
}

template <RoutePrefix PrefixType>
Corenet::Ip6Addr prefixToV6Addr(const PrefixType& prefix) {
   return prefix.af() == Corenet::ipv6 ? Corenet::Ip6Addr(prefix.template bits<128>()) : Corenet::ip6AddrZero;
}

template <RoutePrefix PrefixType>
PrefixType getDefaultPrefix(Corenet::AddressFamily af) {
   switch (af) {
      case Corenet::AddressFamily::ipv4: return Corenet::Prefix();
      case Corenet::AddressFamily::ipv6: return Corenet::Ip6Prefix();
      default: ROUTETRIE_ASSERT(false, "false && \"Unknown af in getDefaultPrefix\""); return PrefixType();
   }
}

template <RoutePrefix PrefixType>
PrefixType getSubnetFromNode(const PatriciaTrieNode* node, PatriciaTrieNodeType type, U32 len) {
   if constexpr (std::same_as<PrefixType, Corenet::IpGenPrefix>) {
      return pfx(node->prefix(type), len);
   } else {
      return Corenet::IpGenAddrWithMask(node->compactPrefix(type), len).compactSubnet();
   }
}

Corenet::IpGenPrefix pfx(const Corenet::IpGenAddr& addr, U32 len) {
   return Corenet::IpGenAddrWithMask(addr, len).subnet();
}

template U32 commonPrefixLenImpl(const Corenet::IpGenAddr&, const Corenet::IpGenPrefix&, U32);
template U32 commonPrefixLenImpl(const Corenet::CompactIpPrefix&, const Corenet::CompactIpPrefix&, U32);
template Corenet::Ip6Addr prefixToV6Addr(const Corenet::IpGenPrefix&);
template Corenet::Ip6Addr prefixToV6Addr(const Corenet::CompactIpPrefix&);
template Corenet::IpGenPrefix getDefaultPrefix(Corenet::AddressFamily);
template Corenet::CompactIpPrefix getDefaultPrefix(Corenet::AddressFamily);
template Corenet::IpGenPrefix getSubnetFromNode(const PatriciaTrieNode*, PatriciaTrieNodeType, U32);
template Corenet::CompactIpPrefix getSubnetFromNode(const PatriciaTrieNode*, PatriciaTrieNodeType, U32);

}  // namespace Routing
