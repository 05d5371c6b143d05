// expects: attribute: the setter takes the value alone
#include "tests/must_not_compile/Thing.h"

template <>
struct Corvid::Description<Thing> {
   static constexpr auto value = describeClass<Thing>(noConstructor, attribute<&Thing::size, &Thing::reset>("size"));
};

ROUTETRIE_MODULE_RECORD(_Thing_00112233445566ff_teskModule)
