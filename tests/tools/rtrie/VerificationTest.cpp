// Verification: engines that answer well are sound, and one that does not is found out, whatever it gets wrong.
#include "tools/rtrie/Verification.h"

#include <random>

#include "Support.h"
#include "tools/rtrie/engines/ContainerTable.h"
#include "tools/tables/AddressNumber.h"

namespace Rtrie {
namespace VerificationTest {

using Corenet::AddressFamily;
using Corenet::IpGenPrefix;
using Support::prefix;
using testing::HasSubstr;

void fill(RouteSet& routes, bool hasDefault, unsigned count, unsigned seed) {
   std::mt19937 random(seed);
   for (unsigned i = 0; i < count; ++i) {
      const auto length = static_cast<U8>(1 + random() % 32);
      const U32 bits = static_cast<U32>(random()) >> (32 - length) << (32 - length);
      routes.add(prefixOf(bits, length), fmt::format("{}", i));
      routes.add(prefixOf(Corenet::U128{bits} << 96 | (length == 32 ? 1 : 0), length == 32 ? U8{128} : length),
                 "six");
   }
   if (hasDefault) {
      routes.add(prefix("0.0.0.0/0"), "");
      routes.add(prefix("::/0"), "");
   }
   routes.add(prefix("255.255.255.255/32"), "last");
   routes.add(prefix("0.0.0.0/32"), "first");
   routes.seal();
}

TEST(Verification, everyEngineIsSound) {
   for (const bool hasDefault : {false, true}) {
      RouteSet routes;
      fill(routes, hasDefault, 300, 1);
      for (const auto af : {AddressFamily::ipv4, AddressFamily::ipv6}) {
         const Verification verification(routes, af, 30);
         for (const Engine& engine : engines()) {
            if (engine.holds(af)) {
               const Verified verified = verification.of(engine);
               EXPECT_EQ(std::vector<std::string>(), verified.shown) << engine.name;
               EXPECT_TRUE(verified.isSound());
               EXPECT_EQ(routes.size(af), verified.routes);
               EXPECT_GT(verified.borders, routes.size(af));
               EXPECT_EQ(90U * 8, verified.samples);
            }
         }
      }
   }
}

// An engine with one fault, chosen by a switch.
enum class Fault { none, audit, count, order, border, parent, children, payload };
Fault fault = Fault::none;

class FaultyTable final : public RouteTable {
  public:
   explicit FaultyTable(AddressFamily af) : table_(af) {}
   void routeIs(const Prefix& route) override { table_.routeIs(route); }
   void routeWithPayloadIs(const Prefix& route, const Payload& payload) override {
      table_.routeWithPayloadIs(route, payload);
   }
   std::uint64_t routes() const override { return table_.routes() + (fault == Fault::count ? 1 : 0); }
   std::string audit() const override { return fault == Fault::audit ? "rule 3 is broken" : table_.audit(); }
   Prefix longestMatch(const Prefix& query) const override {
      return fault == Fault::border && query == prefix("10.255.255.255/32") ? Prefix() : table_.longestMatch(query);
   }
   Prefix parent(const Prefix& query) const override {
      return fault == Fault::parent ? Prefix() : table_.parent(query);
   }
   bool longerPresent(const Prefix& query) const override { return table_.longerPresent(query); }
   void covering(const Prefix& query, const Visit& visit) const override { table_.covering(query, visit); }
   void subtree(const Prefix& query, const Visit& visit) const override {
      std::vector<Prefix> all;
      table_.subtree(query, [&](const Prefix& route) { all.push_back(route); });
      if (fault == Fault::order && all.size() > 1) {
         std::swap(all.front(), all.back());
      }
      std::for_each(all.begin(), all.end(), visit);
   }
   void children(const Prefix& query, const Visit& visit) const override {
      if (fault != Fault::children) {
         table_.children(query, visit);
      }
   }
   Prefix next(const Prefix& query) const override { return table_.next(query); }
   std::optional<std::string_view> payload(const Prefix& route) const override {
      return fault == Fault::payload ? std::optional<std::string_view>("wrong") : table_.payload(route);
   }

  private:
   ContainerTable table_;
};

TEST(Verification, findsWhatIsWrong) {
   RouteSet routes;
   for (const char* route : {"10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24", "11.0.0.0/8"}) {
      routes.add(prefix(route), route);
   }
   routes.seal();
   const Verification verification(routes, AddressFamily::ipv4, 50);
   const Engine engine = {
      "faulty", "", true, false, answeredBy<FaultyTable>(), [](AddressFamily af) -> std::unique_ptr<RouteTable> {
         return std::make_unique<FaultyTable>(af);
      }};
   const auto shown = [&](Fault what) {
      fault = what;
      const Verified verified = verification.of(engine);
      fault = Fault::none;
      EXPECT_FALSE(verified.isSound());
      EXPECT_LE(verified.shown.size(), Verification::mostShown);
      EXPECT_GE(verified.faults, verified.shown.size());
      return verified.shown.empty() ? std::string() : verified.shown.front();
   };
   EXPECT_TRUE(verification.of(engine).isSound());
   EXPECT_EQ("audit: rule 3 is broken", shown(Fault::audit));
   EXPECT_EQ("has 5 routes, and should have 4", shown(Fault::count));
   EXPECT_EQ("walks to 11.0.0.0/8, and should to 10.0.0.0/8", shown(Fault::order));
   EXPECT_EQ("match of 10.255.255.255/32 is none, and should be 10.0.0.0/8", shown(Fault::border));
   EXPECT_THAT(shown(Fault::parent), HasSubstr("parent of 1"));
   EXPECT_THAT(shown(Fault::children), HasSubstr("children of "));
   EXPECT_THAT(shown(Fault::payload), HasSubstr("payload of "));
}

}  // namespace VerificationTest
}  // namespace Rtrie
