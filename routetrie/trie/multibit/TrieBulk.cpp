#include "routetrie/trie/multibit/TrieBulk.h"

namespace Routing {

namespace {

// The trie's own prefix type, as it is.
struct PrefixFace {
   using Prefix = Corenet::Prefix;
   static const Prefix& asked(const Prefix& query) { return query; }
   static const Prefix& answered(const Prefix& found) { return found; }
};

}  // namespace

void Trie::longestMatchBulk(std::span<const Corenet::Prefix> prefixes, std::span<Corenet::Prefix> answers) const {
   longestMatchBulkAs<PrefixFace>(*this, prefixes, answers);
}

}  // namespace Routing
