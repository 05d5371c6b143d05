// MRT files beside what bgpdump makes of them: those of MrtSamples.h, and real ones of route collectors where they are.
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include "Support.h"
#include "tests/tools/tables/MrtSamples.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableLoader.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace BgpdumpTest {

// The prefix and who offers it ("ADDRESS AS", and the path's number), to the AS path.
using Paths = std::map<std::pair<std::string, std::string>, std::string>;

std::string canonical(std::string_view prefix) {
   const auto slash = prefix.find('/');
   const auto length = static_cast<U8>(std::stoul(std::string(prefix.substr(slash + 1))));
   return std::string(
      prefix.find(':') == std::string_view::npos
         ? Corenet::IpGenPrefix(
              Corenet::Prefix(
                 Corenet::IpAddr(Corenet::IpAddr::fromString(prefix.substr(0, slash)).bits().cut(length)), length))
              .stringValue()
         : Corenet::IpGenPrefix(
              Corenet::Ip6Prefix(
                 Corenet::Ip6Addr(Corenet::Ip6Addr::fromString(prefix.substr(0, slash)).bits().cut(length)), length))
              .stringValue());
}

// Line by line, each route instead of that source's one before it.
Paths byBgpdump(const std::string& file, const std::string& lines) {
   if (std::system(fmt::format(BGPDUMP_PROGRAM " -m '{}' >'{}' 2>/dev/null", file, lines).c_str()) != 0) {
      return {};
   }
   Paths all;
   std::ifstream text(lines);
   for (std::string line; std::getline(text, line);) {
      std::string_view rest = line;
      const bool hasPathId = takeField(rest, '|').ends_with("_AP");
      takeField(rest, '|');
      const auto kind = takeField(rest, '|');
      const auto address = takeField(rest, '|');
      std::string source = fmt::format(
         "{} {}", canonical(fmt::format("{}/{}", address, address.find(':') == std::string_view::npos ? 32 : 128)),
         takeField(rest, '|'));
      source.erase(source.find('/'), source.find(' ') - source.find('/'));
      if (kind == "STATE") {
         if (rest.starts_with("6|") && rest != "6|6") {
            std::erase_if(all, [&](const auto& route) { return route.first.second.starts_with(source); });
         }
         continue;
      }
      const auto prefix = canonical(takeField(rest, '|'));
      if (hasPathId) {
         source += fmt::format(" {}", takeField(rest, '|'));
      }
      if (kind == "W") {
         all.erase({prefix, source});
      } else {
         all[{prefix, source}] = takeField(rest, '|');
      }
   }
   return all;
}

Paths byUs(const std::string& file) {
   RouteSet routes;
   routes.candidatesAreKept();
   LoadOptions options;
   options.tables = {file};
   loadTables(options, routes);
   Paths all;
   for (const auto af : {Corenet::AddressFamily::ipv4, Corenet::AddressFamily::ipv6}) {
      routes.forEach(af, [&](const Corenet::IpGenPrefix& route) {
         for (const Candidate& each : routes.candidates(route)) {
            constexpr std::string_view mark = " path ";
            const auto at = each.payload.find(mark);
            all[{std::string(route.stringValue()), std::string(each.source)}] =
               at == std::string_view::npos ? "" : each.payload.substr(at + mark.size());
         }
      });
   }
   return all;
}

void expectTheSame(const std::string& file) {
   const Support::Folder scratch;
   testing::internal::CaptureStderr();
   const Paths ours = byUs(file);
   testing::internal::GetCapturedStderr();
   const Paths theirs = byBgpdump(file, scratch.path("lines"));
   EXPECT_FALSE(theirs.empty()) << file;
   EXPECT_TRUE(ours == theirs) << file << ": " << ours.size() << " routes beside " << theirs.size();
}

TEST(Bgpdump, theSameRoutesAndPaths) {
   const Support::Folder folder;
   unsigned files = 0;
   for (const Mrt::Sample& sample : Mrt::samples()) {
      if (sample.isBgpdumps) {
         ++files;
         expectTheSame(folder.file(sample.name, sample.bytes));
      }
   }
   EXPECT_EQ(6U, files);
}

#ifdef BGPDUMP_FILES
TEST(Bgpdump, theSameRoutesAndPathsOfRealFiles) {
   unsigned files = 0;
   for (const auto& file : std::filesystem::directory_iterator(BGPDUMP_FILES)) {
      if (file.path().extension() != ".md") {
         ++files;
         expectTheSame(file.path());
      }
   }
   EXPECT_GE(files, 1U);
}
#endif

}  // namespace BgpdumpTest
}  // namespace Rtrie
