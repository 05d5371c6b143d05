// Options: what the command line asks for.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "bench/Engines.h"
#include "bench/Op.h"

namespace Bench {

struct Size {
   std::string name;
   std::size_t routes;  // at most; the whole table if it has fewer
};

struct Options {
   std::string table;    // empty: look for one
   std::string updates;  // a stream of changes; empty: none
   std::vector<Size> sizes;
   std::vector<std::string> families;
   std::vector<OpRow> ops;
   std::vector<EngineRow> engines;
   int repetitions = 3;
   double minSeconds = 0.05;  // of each repetition
   bool checkOnly = false;    // each row once, and no figures
   std::string json;          // empty: none
   std::string plot;          // a folder for charts; empty: none
};

// Nothing if the command line asks for help, or is wrong: that was then told, and `status` is what to exit with.
std::optional<Options> optionsOf(int argc, char** argv, int& status);

}  // namespace Bench
