#include "routetrie/trie/front/TwoLpmLen.h"

#include "routetrie/platform/Tesk/Strep.h"

namespace Routing {

TwoLpmLen::TwoLpmLen(Tesk::CharRange& range)
   : lpm1(Tesk::desAttrPre<U32>(range, "Routing::TwoLpmLen", "lpm1")), lpm2(Tesk::desAttrPost<U32>(range, "lpm2")) {}

}  // namespace Routing
