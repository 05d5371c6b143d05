#include "routetrie/platform/Corenet/AddressFamily.h"

#include <ostream>
#include <string>

#include "routetrie/platform/Corvid/RangeException.h"

namespace Corenet {

Corvid::String stringValue(AddressFamily family) {
   switch (family) {
      case AddressFamily::none: return "none";
      case AddressFamily::ipv4: return "ipv4";
      case AddressFamily::ipv6: return "ipv6";
   }
   return "unknown " + std::to_string(static_cast<unsigned>(family));
}

Corvid::String stringValue(V4V6 family) {
   return stringValue(family == V4V6::v4 ? AddressFamily::ipv4 : AddressFamily::ipv6);
}

void valueFromString(std::string_view text, AddressFamily* family) {
   for (const auto known : {AddressFamily::none, AddressFamily::ipv4, AddressFamily::ipv6}) {
      if (stringValue(known) == text) {
         *family = known;
         return;
      }
   }
   Corvid::throwBadText("no address family", text);
}

void valueFromString(std::string_view text, V4V6* family) {
   AddressFamily either = AddressFamily::none;
   valueFromString(text, &either);
   if (either == AddressFamily::none) {
      Corvid::throwBadText("neither of the two address families", text);
   }
   *family = v4V6(either);
}

std::ostream& operator<<(std::ostream& out, AddressFamily family) { return out << stringValue(family); }

std::ostream& operator<<(std::ostream& out, V4V6 family) { return out << stringValue(family); }

}  // namespace Corenet
