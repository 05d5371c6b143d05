#include "tools/tables/Messages.h"

#include <fmt/format.h>

#include <cstdio>
#include <iterator>

namespace Rtrie {
namespace {

constexpr std::size_t maxTextBytes = 400;

std::string_view speaker = "rtrie";

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

}  // namespace

void speakerIs(std::string_view program) { speaker = program; }

std::string messageLine(std::string_view text) {
   std::string line(speaker);
   line += ": ";
   for (char c : text.substr(0, maxTextBytes)) {
      if (isControl(c)) {
         fmt::format_to(std::back_inserter(line), "\\x{:02x}", static_cast<unsigned char>(c));
      } else {
         line += c;
      }
   }
   if (text.size() > maxTextBytes) {
      line += "...";
   }
   line += '\n';
   return line;
}

void say(std::string_view text) {
   // One write, so that lines of several processes do not mix.
   const auto line = messageLine(text);
   std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace Rtrie
