#include "routetrie/trie/patricia/PatriciaTrieBulk.h"

#include "routetrie/platform/Corvid/Assert.h"

namespace Routing {

void PatriciaTrie::longestMatchBulk(std::span<const Corenet::IpGenPrefix> prefixes,
                                    std::span<Corenet::IpGenPrefix> answers) const {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Compact());
   longestMatchBulkAs<OwnFace<Corenet::IpGenPrefix>>(*this, prefixes, answers);
}

void PatriciaTrie::longestMatchBulkCompact(std::span<const Corenet::CompactIpPrefix> prefixes,
                                           std::span<Corenet::CompactIpPrefix> answers) const {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Legacy());
   longestMatchBulkAs<OwnFace<Corenet::CompactIpPrefix>>(*this, prefixes, answers);
}

}  // namespace Routing
