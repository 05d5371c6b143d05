// expects: attribute: the getter belongs to another class
#include "tests/must_not_compile/Thing.h"

template <>
struct Corvid::Description<Thing> {
   static constexpr auto value = describeClass<Thing>(noConstructor, attribute<&Other::foreign>("foreign"));
};

ROUTETRIE_MODULE_RECORD(_Thing_00112233445566ff_teskModule)
