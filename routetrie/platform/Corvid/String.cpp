#include "routetrie/platform/Corvid/String.h"

#include <fmt/format.h>

#include <ostream>

namespace Corvid {

std::ostream& operator<<(std::ostream& out, const String& text) { return out << text.view(); }

}  // namespace Corvid

auto fmt::formatter<Corvid::String>::format(const Corvid::String& text, fmt::format_context& context) const
   -> fmt::format_context::iterator {
   return formatter<fmt::string_view>::format(fmt::string_view(text.data(), text.size()), context);
}
