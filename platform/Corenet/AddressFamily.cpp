#include "platform/Corenet/AddressFamily.h"

#include <ostream>
#include <string>

namespace Corenet {

Corvid::String stringValue(AddressFamily family) {
   switch (family) {
      case AddressFamily::none: return "none";
      case AddressFamily::ipv4: return "ipv4";
      case AddressFamily::ipv6: return "ipv6";
   }
   return "unknown " + std::to_string(static_cast<unsigned>(family));
}

std::ostream& operator<<(std::ostream& out, AddressFamily family) { return out << stringValue(family); }

std::ostream& operator<<(std::ostream& out, V4V6 family) {
   return out << (family == V4V6::v4 ? AddressFamily::ipv4 : AddressFamily::ipv6);
}

}  // namespace Corenet
