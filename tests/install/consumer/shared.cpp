// A program that reads a shared table, and sees no header of liburcu for it.
#include <cstdio>

#include <routetrie/shared_table.h>

#ifdef _URCU_BP_H
#error "the headers drag in liburcu"
#endif

int main() {
   using namespace routetrie::literals;
   routetrie::shared_table<int> t;
   t.insert({"10.0.0.0/8"_prefix, 9});
   const auto reader = t.reader();
   std::printf("%d\n", *reader.lookup("10.1.2.3"_address));
}
