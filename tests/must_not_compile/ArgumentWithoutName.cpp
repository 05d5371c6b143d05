// expects: operation: one name for each parameter
#include "tests/must_not_compile/Thing.h"

template <>
struct Corvid::Description<Thing> {
   static constexpr auto value = describeClass<Thing>(noConstructor, operation<&Thing::sum>("sum", "a"));
};

ROUTETRIE_MODULE_RECORD(_Thing_00112233445566ff_teskModule)
