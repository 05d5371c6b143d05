// A peer restarts. Its routes stay in use until it has told them anew; what it did not tell again is then swept, a slice at a time.
#include <fmt/format.h>
#include <routetrie/table.h>

#include <string>

int main() {
   using namespace routetrie::literals;
   routetrie::table<std::string> heard{{"10.0.0.0/8"_prefix, "a"},
                                       {"10.1.0.0/16"_prefix, "a"},
                                       {"10.2.0.0/16"_prefix, "b"},
                                       {"2001:db8::/32"_prefix, "b"}};

   heard.mark();  // the session is down
   fmt::print("down: {} routes, 10.1.2.3 by {}\n", heard.size(), *heard.lookup("10.1.2.3"_address));

   heard.insert_or_assign("10.0.0.0/8"_prefix, "c");  // it is up again
   heard.insert_or_assign("2001:db8::/32"_prefix, "b");
   heard.insert_or_assign("2001:db8:1::/48"_prefix, "c");

   std::size_t gone = 0;
   for (routetrie::sweep_slice slice; !slice.done; gone += slice.erased) {
      slice = heard.sweep(2);  // and back to the event loop
   }
   fmt::print("swept: {} routes\n", gone);

   std::string token =
      fmt::format("{}", routetrie::walk_token());  // as an operator's client keeps it between two requests
   while (!token.empty()) {
      auto page = heard.walk(2, routetrie::parse<routetrie::walk_token>(token).value());
      for (const auto& [prefix, nextHop] : page) {
         fmt::print("{} by {}\n", prefix, nextHop);
      }
      const auto next = page.next();
      token = next ? fmt::format("{}", *next) : "";
      fmt::print("-- {}\n", next ? token : "end");
   }
}
