// expects: the module's type names are past the limit of their pool
#include "routetrie/platform/Corvid/ModuleTables.h"

struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne00 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne00&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne01 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne01&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne02 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne02&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne03 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne03&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne04 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne04&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne05 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne05&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne06 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne06&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne07 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne07&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne08 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne08&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne09 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne09&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne10 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne10&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne11 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne11&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne12 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne12&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne13 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne13&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne14 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne14&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne15 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne15&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne16 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne16&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne17 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne17&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne18 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne18&) const = default;
   Corvid::String stringValue() const { return ""; }
};
struct AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne19 {
   bool operator==(const AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne19&) const = default;
   Corvid::String stringValue() const { return ""; }
};

ROUTETRIE_MODULE(_Long_00112233445566ff_teskModule, AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne00,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne01,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne02,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne03,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne04,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne05,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne06,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne07,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne08,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne09,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne10,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne11,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne12,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne13,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne14,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne15,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne16,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne17,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne18,
                 AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne19)

namespace Corvid {

template <OneOf<AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne00,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne01,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne02,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne03,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne04,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne05,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne06,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne07,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne08,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne09,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne10,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne11,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne12,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne13,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne14,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne15,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne16,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne17,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne18,
                AClassWithANameThatIsSoLongThatTwentyOfThemDoNotFitIntoOne19>
             T>
struct Description<T> {
   static constexpr auto value = describeValue<T>(noConstructor);
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_Long_00112233445566ff_teskModule)
