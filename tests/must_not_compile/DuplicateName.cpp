// expects: two fields of one class have the same name
#include "tests/must_not_compile/Thing.h"

template <>
struct Corvid::Description<Thing> {
   static constexpr auto value =
      describeClass<Thing>(noConstructor, attribute<&Thing::size>("size"), operation<&Thing::sum>("size", "a", "b"));
};

ROUTETRIE_MODULE_RECORD(_Thing_00112233445566ff_teskModule)
