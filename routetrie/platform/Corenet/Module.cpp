#include "routetrie/platform/Corenet/Module.h"

#include "routetrie/platform/Corvid/ModuleTables.h"

namespace Corvid {

// A value that is read and written as a whole.
template <OneOf<Corenet::AddressFamily, Corenet::V4V6, Corenet::Prefix, Corenet::Ip6Prefix, Corenet::IpGenPrefix,
                Corenet::CompactIpPrefix, Corenet::PrefixDataAndLength>
             T>
struct Description<T> {
   static constexpr auto value = describeValue<T>(noConstructor);
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_Corenet_2f6c1f5a0d7be943_teskModule)
