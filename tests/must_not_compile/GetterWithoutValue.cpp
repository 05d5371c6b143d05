// expects: attribute: the getter takes no argument and returns the value
#include "tests/must_not_compile/Thing.h"

template <>
struct Corvid::Description<Thing> {
   static constexpr auto value = describeClass<Thing>(noConstructor, attribute<&Thing::reset>("reset"));
};

ROUTETRIE_MODULE_RECORD(_Thing_00112233445566ff_teskModule)
