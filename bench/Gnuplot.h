// Gnuplot: the program gnuplot as a child process, started without a shell.
// Tested by tests/bench/GnuplotTest.cpp, with a stand-in.
#pragma once

#include <string>

namespace Bench {

// Raises std::runtime_error, with what to install, unless gnuplot can be started.
void needGnuplot();

// Runs a script; what it writes to its standard output goes into the file. Raises std::runtime_error.
void runGnuplot(const std::string& script, const std::string& path);

}  // namespace Bench
