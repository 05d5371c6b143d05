#include "routetrie/platform/Keel/Module.h"

#include "routetrie/platform/Corvid/ModuleTables.h"

template <>
struct Corvid::Description<Keel::DumpContext> {
   using T = Keel::DumpContext;
   static constexpr auto value = describeClass<T>(noConstructor,                                           //
                                                  attribute<&T::verbosity, &T::verbosityIs>("verbosity"),  //
                                                  attribute<&T::listLimit, &T::listLimitIs>("listLimit"),  //
                                                  attribute<&T::truncated>("truncated"));
};

ROUTETRIE_MODULE_RECORD(_Keel_81d3e06a5c94b27f_teskModule)

Corvid::TypeData Keel::DumpContext::typeData() const { return Corvid::typeDataOf<DumpContext>(); }
