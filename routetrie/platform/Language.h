// Language: what the headers need of the compiler, told in one line. A header that includes no other of the library includes
// this one, so it stands before the first line that would not compile.
//
// An #error would not do: the compiler goes on behind it and adds hundreds of lines. A file that can't be there stops it at
// once, and its name is the line.
#pragma once

#if __cplusplus <= 201703L
#include <routetrie needs C++20: compile with -std=c++20>
#endif

#ifndef __cpp_exceptions
#include <routetrie needs exceptions: compile without -fno-exceptions>
#endif

#ifndef __cpp_rtti
#include <routetrie needs run-time type information: compile without -fno-rtti>
#endif
