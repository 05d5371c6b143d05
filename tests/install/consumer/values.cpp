// A program that wants values alone: no name that the engines' interfaces are written in is taken from it.
#include <cstdio>

#include <routetrie/platform/Corenet.h>

struct U8 {};
struct U16 {};
struct U32 {};
struct U64 {};
struct U128 {
   int number = 8;
};

int main() {
   std::printf("%s %d\n", Corenet::IpGenPrefix::fromString("10.0.0.0/8").stringValue().c_str(), U128{}.number);
}
