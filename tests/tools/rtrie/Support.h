// Support: what the tests of rtrie share: a folder for tables, running the program, and routes as text.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "tools/tables/RouteSet.h"
#include "tools/tables/TableFormat.h"

namespace Rtrie::Support {

// A folder of its own for a test's files, removed with it.
class Folder {
  public:
   Folder();
   Folder(const Folder&) = delete;
   Folder& operator=(const Folder&) = delete;
   ~Folder();

   std::string path(std::string_view name) const { return (folder_ / name).string(); }
   // Each writes a file and returns its path.
   std::string file(std::string_view name, std::string_view content) const;
   std::string gzFile(std::string_view name, std::string_view content) const;

  private:
   std::filesystem::path folder_;
};

// The bytes of a compressed file with that content.
std::string gz(std::string_view content);
std::string bz2(std::string_view content);
std::string xz(std::string_view content);
std::string zst(std::string_view content);
std::string contentOf(const std::string& path);

struct Ran {
   int status = -1;  // exit status; 128 and the number if a signal ended it
   std::string out;
   std::string err;
   std::uint64_t peakBytes = 0;  // of memory, at the most
};

// Starts the built program with files for its three channels, and returns its process, which is the caller's to wait for.
pid_t started(std::vector<std::string> arguments, const std::string& in, const std::string& out,
              const std::string& err);
// Runs the built program to its end.
Ran rtrie(const std::vector<std::string>& arguments, std::string_view input = "");

// "10.0.0.0/8 payload" a route, in the set's order, IPv4 first. Seals the set.
std::vector<std::string> textOf(RouteSet& routes);

// What a parser makes of some lines: the routes, and the text of each bad line.
struct Parsed {
   std::vector<std::string> routes;
   std::vector<std::string> faults;
   std::vector<std::string>
      candidates;        // "10.0.0.0/8 payload" for those that lost, "... (bound)" if they could not win
   std::string leftOut;  // names and counts of what was not selected
};
Parsed parsed(LineParser& parser, const std::vector<std::string>& lines);

template <class Parser, class... Arguments>
Parsed parsedBy(const std::vector<std::string>& lines, const Arguments&... arguments) {
   Parser parser(arguments...);
   return parsed(parser, lines);
}

inline Corenet::IpGenPrefix prefix(std::string_view text) { return Corenet::IpGenPrefix::fromString(text); }

}  // namespace Rtrie::Support
