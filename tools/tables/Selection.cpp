#include "tools/tables/Selection.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

#include "tools/tables/Numbers.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

constexpr std::size_t mostNames = 8;

bool isNumber(std::string_view text) {
   return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

std::optional<U32> idOf(std::string_view text) {
   const bool isHex = text.starts_with("0x") || text.starts_with("0X");
   if (isHex) {
      text.remove_prefix(2);
   }
   U32 id = 0;
   const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id, isHex ? 16 : 10);
   if (error != std::errc{} || end != text.data() + text.size()) {
      return std::nullopt;
   }
   return id;
}

}  // namespace

PeerName::PeerName(std::string_view text) {
   auto number = text;
   if (number.starts_with("AS") || number.starts_with("as")) {
      number.remove_prefix(2);
   }
   if (isNumber(number)) {
      as_ = number;
   } else if (text == "all") {
      isAll_ = true;
   } else if (isPrefixText(text) && text.find('/') == std::string_view::npos) {
      address_ = prefixOfText(text);
   } else {
      throw UsageError(fmt::format("--peer takes an address, the number of an AS or all: \"{}\"", text));
   }
}

bool PeerName::isOf(std::string_view address, std::string_view as) const {
   return isAll_ || (address_ ? isPrefixText(address) && prefixOfText(address) == *address_ : as == as_);
}

RouteTableNames::RouteTableNames() : ids_{{"default", 253}, {"main", 254}, {"local", 255}} {}

namespace {

void forEachNumberedLine(std::string_view text, const std::function<void(U32 number, std::string_view name)>& each) {
   while (!text.empty()) {
      auto line = withoutComment(trimmed(takeField(text, '\n')));
      const auto number = idOf(takeWord(line));
      const auto name = takeWord(line);
      if (number && !name.empty()) {
         each(*number, name);
      }
   }
}

}  // namespace

void forEachNumberedName(std::string_view file, const std::function<void(U32 number, std::string_view name)>& each) {
   const auto readFile = [&](const std::filesystem::path& path) {
      std::ifstream stream(path);
      forEachNumberedLine(std::string(std::istreambuf_iterator<char>(stream), {}), each);
   };
   // Where both are there, /etc has what was changed on this machine.
   for (const std::filesystem::path folder : {"/usr/lib/iproute2", "/usr/share/iproute2", "/etc/iproute2"}) {
      readFile(folder / file);
      std::error_code noFolder;
      std::vector<std::filesystem::path> more;
      for (const auto& entry : std::filesystem::directory_iterator(folder / fmt::format("{}.d", file), noFolder)) {
         if (entry.path().extension() == ".conf") {
            more.push_back(entry.path());
         }
      }
      std::sort(more.begin(), more.end());
      std::for_each(more.begin(), more.end(), readFile);
   }
}

void RouteTableNames::add(std::string_view text) {
   forEachNumberedLine(text, [&](U32 id, std::string_view name) { ids_.insert_or_assign(std::string(name), id); });
}

RouteTableNames RouteTableNames::ofThisMachine() {
   RouteTableNames names;
   forEachNumberedName("rt_tables",
                       [&](U32 id, std::string_view name) { names.ids_.insert_or_assign(std::string(name), id); });
   return names;
}

std::string RouteTableNames::key(std::string_view text) const {
   if (const auto id = idOf(text)) {
      return fmt::format("{}", *id);
   }
   const auto found = ids_.find(text);
   return found == ids_.end() ? std::string(text) : fmt::format("{}", found->second);
}

bool Selection::takesRouteTable(std::string_view name) const {
   return allRouteTables || routeTableNames.key(name) == routeTable.value_or(routeTableNames.key("main"));
}

void LeftOut::add(std::string_view name, std::uint64_t count) {
   count_ += count;
   if (const auto found = byName_.find(name); found != byName_.end()) {
      found->second += count;
   } else if (byName_.size() < mostNames) {
      byName_.emplace(name, count);
   } else {
      unnamed_ += count;
   }
}

std::string LeftOut::names() const {
   std::string names;
   for (const auto& [name, count] : byName_) {
      names += fmt::format("{}{} ({})", names.empty() ? "" : ", ", name, grouped(count));
   }
   return unnamed_ == 0 ? names : fmt::format("{}, others ({})", names, grouped(unnamed_));
}

}  // namespace Rtrie
