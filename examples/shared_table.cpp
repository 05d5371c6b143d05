// Readers beside a writer: one thread changes the routes, others look up without ever waiting, and what a batch changes they see as one.
#include <fmt/core.h>
#include <routetrie/shared_table.h>

#include <atomic>
#include <thread>
#include <vector>

int main() {
   using namespace routetrie::literals;
   routetrie::shared_table<int> routes;  // a port for each
   routes.insert({"10.0.0.0/9"_prefix, 0});
   routes.insert({"10.128.0.0/9"_prefix, 0});

   std::atomic<bool> isOver = false;
   std::atomic<int> torn = 0;
   std::vector<std::thread> readers;
   for (int i = 0; i < 2; ++i) {
      readers.emplace_back([&] {
         const auto reader = routes.reader();  // one for each thread
         while (!isOver) {
            const auto now = reader.lock();  // both questions see one version
            torn += *now->lookup("10.1.2.3"_address) != *now->lookup("10.200.2.3"_address) ? 1 : 0;
         }
      });
   }
   for (int port = 1; port <= 1000; ++port) {
      routes.batch([&](auto& batch) {
         batch.insert_or_assign("10.0.0.0/9"_prefix, port);
         batch.insert_or_assign("10.128.0.0/9"_prefix, port);
      });
   }
   const auto before = routes.snapshot();  // stays as it is
   isOver = true;
   for (auto& reader : readers) {
      reader.join();
   }
   routes.insert_or_assign("10.0.0.0/9"_prefix, 7);  // by itself, so that the two differ from now on

   fmt::print("10.1.2.3 leaves by port {}, and left by {}\n", *routes.reader().lookup("10.1.2.3"_address),
              *before.lookup("10.1.2.3"_address));
   fmt::print("batches seen in part: {}\n", torn.load());
}
