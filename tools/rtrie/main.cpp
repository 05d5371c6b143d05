// main: the command rtrie. All of it is in Program.cpp, which tests can link.
#include "tools/rtrie/Program.h"

int main(int argc, char** argv) { return Rtrie::runProgram(argc, argv); }
