// expects: a field's or argument's type is in no module: name it in a ROUTETRIE_MODULE
#include "tests/must_not_compile/Thing.h"

template <>
struct Corvid::Description<Thing> {
   static constexpr auto value = describeClass<Thing>(noConstructor, attribute<&Thing::other>("other"));
};

ROUTETRIE_MODULE_RECORD(_Thing_00112233445566ff_teskModule)
