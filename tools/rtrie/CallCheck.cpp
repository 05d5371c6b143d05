#include "tools/rtrie/CallCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <span>
#include <string_view>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Corvid/RangeException.h"

namespace Rtrie {
namespace {

namespace Inspect = Corvid::Inspect;
using Corenet::AddressFamily;
using Corenet::IpGenPrefix;

constexpr std::string_view compactPrefix = "Corenet::CompactIpPrefix";
constexpr std::string_view genPrefix = "Corenet::IpGenPrefix";

template <class... Parts>
[[noreturn]] void refuse(const Inspect::Field& field, fmt::format_string<Parts...> text, Parts&&... parts) {
   Corvid::RangeException::throwException(
      fmt::format("{}::{} {}", field.owner().name(), field.name(), fmt::format(text, std::forward<Parts>(parts)...))
         .c_str());
}

// The text of an attribute of the object; none if it has no such attribute.
std::optional<std::string> attributeOf(const Corvid::Node& node, std::string_view name) {
   const auto type = Inspect::typeOf(node);
   const auto field = type ? type->field(name) : std::nullopt;
   if (!field || field->shape() != Tesk::Shape::value || !field->takes(Corvid::AccessKind::get)) {
      return std::nullopt;
   }
   return Inspect::get(node, name).text;
}

bool isTrue(const std::optional<std::string>& text) { return text == "true"; }

//--- null objects ---

// What null means where it is taken. Nearly each operation has a twin whose name ends in Compact, and is the same.
struct NullTaken {
   std::string_view field;
   std::string_view parameter;
   bool withNodeData;  // also of a trie that keeps a payload for each route
};

constexpr NullTaken nullTaken[] = {
   // Nobody asks for the payload, or for the routes on the way.
   {"longestMatchOrParent", "dataContainer", true},
   {"longestMatchOrParent", "cb", true},
   {"longestMatchCommon", "dataContainer", true},
   {"longestMatchCommon", "cb", true},
   {"findParentCommon", "dataContainer", true},
   {"findParentCommon", "cb", true},
   // A route without payload.
   {"updateRoute", "data", false},
   {"deleteRoute", "data", true},
   {"deleteRoute", "dataContainer", false},
   {"routeDelOrUpdate", "delData", true},
   // The base class gives back what it gets; the trie is not asked.
   {"insertData", "data", true},
   {"removeData", "data", true},
};

std::string_view withoutCompact(std::string_view name) {
   constexpr std::string_view ending = "Compact";
   return name.ends_with(ending) ? name.substr(0, name.size() - ending.size()) : name;
}

void requireObject(const Corvid::Node& node, const Inspect::Field& field, const Inspect::Parameter& parameter) {
   const auto row = std::find_if(std::begin(nullTaken), std::end(nullTaken), [&](const NullTaken& each) {
      return each.field == withoutCompact(field.name()) && each.parameter == parameter.name;
   });
   if (row == std::end(nullTaken)) {
      refuse(field, "needs an object of class {} for {}, which can't be given as text", parameter.typeName,
             parameter.name);
   }
   if (!row->withNodeData && isTrue(attributeOf(node, "nodeDataEnabled"))) {
      refuse(field, "needs an object of class {} for {}, since the trie keeps a payload for each route",
             parameter.typeName, parameter.name);
   }
}

//--- prefixes ---

bool isPrefixType(std::string_view name) {
   return name == genPrefix || name == compactPrefix || name == "Corenet::Prefix" || name == "Corenet::Ip6Prefix";
}

// The prefix that is given, in the form that all have in common. Raises Corvid::RangeException for what is none.
IpGenPrefix prefixOf(std::string_view typeName, std::string_view text) {
   if (typeName == "Corenet::Prefix") {
      return Corenet::Prefix::fromString(text);
   }
   if (typeName == "Corenet::Ip6Prefix") {
      return Corenet::Ip6Prefix::fromString(text);
   }
   return text == "none" ? IpGenPrefix() : IpGenPrefix::fromString(text);
}

void requirePrefix(const Corvid::Node& node, const Inspect::Field& field, std::string_view typeName,
                   std::string_view text) {
   const IpGenPrefix prefix = prefixOf(typeName, text);
   const auto af = attributeOf(node, "af");
   if (prefix.af() == AddressFamily::none || prefix.len() == Corenet::nullPrefixLength) {
      refuse(field, "can't be asked for \"{}\", which is no prefix of a route", text);
   }
   if (af && *af != Corenet::stringValue(prefix.af()).view()) {
      refuse(field, "of a trie of family {} can't be asked for \"{}\"", *af, text);
   }
   const auto useCompact = attributeOf(node, "useCompactIpPrefix");
   if (useCompact && prefix.af() == AddressFamily::ipv6 &&
       typeName == (isTrue(useCompact) ? genPrefix : compactPrefix)) {
      refuse(field, "{}",
             isTrue(useCompact) ? "takes whole addresses, and this trie keeps compact prefixes"
                                : "takes compact prefixes, and this trie keeps whole addresses");
   }
}

//--- operations of which no record can tell ---

void requireRoute(const Corvid::Node& node, const Inspect::Field& field,
                  const std::vector<Inspect::Given>& arguments) {
   const auto isCompact = field.name().ends_with("Compact");
   const auto found =
      Inspect::call(const_cast<Corvid::Node&>(node), isCompact ? "longestMatchCommonCompact" : "longestMatchCommon",
                    {arguments.front(), "null", "null"});
   const auto asked = IpGenPrefix::fromString(arguments.front().text());
   if (found.text == "none" || IpGenPrefix::fromString(found.text) != asked ||
       Inspect::get(node, "nodes").text == "0") {
      refuse(field, "tells of the node of a route, and \"{}\" is at none", arguments.front().text());
   }
}

struct Special {
   std::string_view field;
   void (*require)(const Corvid::Node& node, const Inspect::Field& field,
                   const std::vector<Inspect::Given>& arguments);
};

constexpr Special specials[] = {
   // The route would leave a trie whose holder goes on counting it.
   {"trieRemove",
    [](const Corvid::Node&, const Inspect::Field& field, const std::vector<Inspect::Given>&) {
       refuse(field, "would take the route from its trie behind the table's back");
    }},
   // These go to the node without a look at whether there is one.
   {"getFirstBlack", requireRoute},
   {"getNextBlack", requireRoute},
};

bool isHandler(std::string_view name) {
   constexpr std::string_view beginning = "handle";
   return name.size() > beginning.size() && name.starts_with(beginning) && name[beginning.size()] >= 'A' &&
          name[beginning.size()] <= 'Z';
}

}  // namespace

void requireHarmless(const Corvid::Node& node, const Inspect::Field& field,
                     const std::vector<Inspect::Given>& arguments) {
   if (isHandler(field.name())) {
      refuse(field, "is a handler, which the library alone calls");
   }
   if (field.shape() == Tesk::Shape::queue && Inspect::count(node, field.name()) == 0) {
      refuse(field, "is empty");
   }
   std::vector<Inspect::Parameter> parameters;
   if (field.takes(Corvid::AccessKind::call)) {
      parameters = field.parameters();
   } else if (!field.keyTypeName().empty()) {
      parameters.push_back({"key", field.keyTypeName()});
   }
   for (std::size_t i = 0; i < std::min(parameters.size(), arguments.size()); ++i) {
      const auto& parameter = parameters[i];
      const auto text = arguments[i].text();
      const auto type = Inspect::findType(parameter.typeName);
      if (type && type->isClass()) {
         if (text == "null") {
            requireObject(node, field, parameter);
         }
      } else if (isPrefixType(parameter.typeName)) {
         requirePrefix(node, field, parameter.typeName, text);
      }
   }
   if (arguments.size() == parameters.size()) {
      for (const Special& special : specials) {
         if (special.field == withoutCompact(field.name())) {
            special.require(node, field, arguments);
         }
      }
   }
}

}  // namespace Rtrie
