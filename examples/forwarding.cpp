// Forwards bursts of packets on one thread while another changes the routes. The forwarder asks a compiled form that nobody changes;
// who changes the table makes a new form and swaps the pointer. The old one goes with the last burst that uses it.
#include <fmt/core.h>
#include <routetrie/compiled.h>

#include <array>
#include <atomic>
#include <memory>
#include <thread>

namespace {

using namespace routetrie::literals;

struct Hop {
   unsigned port;
};
using Form = routetrie::compiled_table4<Hop>;

// Takes the form once a burst, so that all packets of a burst are forwarded by the same routes.
unsigned forward(const std::atomic<std::shared_ptr<const Form>>& forms, unsigned lastPort) {
   std::array<routetrie::address4, 32> burst;
   burst.fill("10.1.2.3"_address);
   std::array<const Hop*, 32> hops;
   unsigned mixed = 0, port = 0;
   while (port != lastPort) {
      const std::shared_ptr<const Form> form = forms.load();  // what `hops` point into
      form->lookup_bulk(burst, hops);
      port = hops[0]->port;
      for (const Hop* hop : hops) {
         mixed += hop->port != port ? 1u : 0u;
      }
   }
   return mixed;
}

}  // namespace

int main() {
   routetrie::table4<Hop> routes;
   routes.insert({"10.0.0.0/8"_prefix, Hop{1}});
   std::atomic<std::shared_ptr<const Form>> forms(std::make_shared<const Form>(routes));

   unsigned mixed = 0;
   std::thread forwarder([&] { mixed = forward(forms, 100); });
   for (unsigned port = 2; port <= 100; ++port) {
      routes.insert_or_assign("10.1.0.0/16"_prefix, Hop{port});
      forms.store(std::make_shared<const Form>(routes));  // as routetrie::compile(routes)
   }
   forwarder.join();

   const auto last = forms.load();
   fmt::print("{} routes, packets to 10.1.2.3 leave by port {}, to 10.2.0.1 by port {}\n", last->size(),
              last->lookup("10.1.2.3"_address)->port, last->lookup("10.2.0.1"_address)->port);
   fmt::print("packets that other routes than those of their burst forwarded: {}\n", mixed);
}
