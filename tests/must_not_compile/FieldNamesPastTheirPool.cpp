// expects: the module's field names are past the limit of their pool
#include "tests/must_not_compile/Thing.h"

#define NAME_OF_64 "a_name_of_sixty_four_characters_which_is_repeated_until_it_is_lo"
#define NAME_OF_512 NAME_OF_64 NAME_OF_64 NAME_OF_64 NAME_OF_64 NAME_OF_64 NAME_OF_64 NAME_OF_64 NAME_OF_64
#define NAME_OF_4096 NAME_OF_512 NAME_OF_512 NAME_OF_512 NAME_OF_512 NAME_OF_512 NAME_OF_512 NAME_OF_512 NAME_OF_512

template <>
struct Corvid::Description<Thing> {
   static constexpr auto value =
      describeClass<Thing>(noConstructor, attribute<&Thing::size>(NAME_OF_4096 NAME_OF_4096));
};

ROUTETRIE_MODULE_RECORD(_Thing_00112233445566ff_teskModule)
