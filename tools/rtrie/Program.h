// Program: the command line of rtrie: its commands, its help, and the exit status of each way to fail.
//
// Tested by tests/tools/rtrie/ProgramTest.cpp.
#pragma once

namespace Rtrie {

// Runs the program and returns its exit status.
int runProgram(int argc, char** argv);

}  // namespace Rtrie
