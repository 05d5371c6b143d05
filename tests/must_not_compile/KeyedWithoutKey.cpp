// expects: keyed: the getter takes the key alone
#include "tests/must_not_compile/Thing.h"

template <>
struct Corvid::Description<Thing> {
   static constexpr auto value = describeClass<Thing>(noConstructor, keyed<&Thing::size>("size"));
};

ROUTETRIE_MODULE_RECORD(_Thing_00112233445566ff_teskModule)
