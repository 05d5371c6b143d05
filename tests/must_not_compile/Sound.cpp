// A description without a fault.
#include "tests/must_not_compile/Thing.h"

template <>
struct Corvid::Description<Thing> {
   static constexpr auto value = describeClass<Thing>(noConstructor, attribute<&Thing::size, &Thing::sizeIs>("size"),
                                                      operation<&Thing::sum>("sum", "a", "b"));
};

ROUTETRIE_MODULE_RECORD(_Thing_00112233445566ff_teskModule)
