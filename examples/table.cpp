#include <fmt/core.h>

#include <routetrie/table.h>

using namespace routetrie;

int main() {
   table<std::string> routes{
      {"10.0.0.0/8"_prefix, "ten"}, {"10.1.0.0/16"_prefix, "lan"}, {"2001:db8::/32"_prefix, "doc"}};
   for (auto [prefix, value] : routes)
      fmt::print("{} is {}\n", prefix, value);
   fmt::print("{} answers 10.1.2.3\n", *routes.match("10.1.2.3"_address));
}
