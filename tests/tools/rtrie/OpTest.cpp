// Op: what each asks of a table, and engines that lack it.
#include "tools/rtrie/Op.h"

#include <cstdint>
#include <sstream>
#include <stdexcept>

#include "Support.h"
#include "tools/rtrie/Errors.h"
#include "tools/rtrie/Registry.h"

namespace Rtrie {
namespace OpTest {

using Support::prefix;

// Answers longest matches only, always with the same route.
class OneRoute : public RouteTable {
  public:
   explicit OneRoute(Prefix route = {}) : route_(route) {}
   void routeIs(const Prefix& route) override { route_ = route; }
   std::uint64_t routes() const override { return 1; }
   Prefix longestMatch(const Prefix&) const override { return route_; }

  private:
   Prefix route_;
};

// Answers everything.
class AllAnswers final : public OneRoute {
  public:
   Prefix parent(const Prefix& query) const override { return longestMatch(query); }
   bool longerPresent(const Prefix&) const override { return true; }
   void covering(const Prefix& query, const Visit& visit) const override { visit(longestMatch(query)); }
   void subtree(const Prefix& query, const Visit& visit) const override { visit(query); }
   void children(const Prefix&, const Visit&) const override {}
   Prefix next(const Prefix& query) const override { return query; }
   std::optional<std::string_view> payload(const Prefix&) const override { return "payload"; }
   void dump(const Corvid::Ptr<const Keel::DumpContext>&) const override {}
   void dumpTree(std::ostream&) const override {}
};

constexpr Engine testEngines[] = {
   {"one", "", true, true, answeredBy<OneRoute>(), nullptr},
   {"all", "", true, true, answeredBy<AllAnswers>(), nullptr},
};

Answer asked(std::string_view op, const RouteTable& table, std::string_view query) {
   Answer answer;
   rowNamed(ops(), "op", op).ask(table, prefix(query), answer);
   return answer;
}

std::string faultOf(std::string_view op, const Engine& engine, std::span<const Engine> known) {
   try {
      opOfEngine(op, engine, known);
      return "no fault";
   } catch (const UsageError& error) {
      return error.what();
   }
}

TEST(Questions, followFromWhatIsOverridden) {
   static_assert(answeredBy<OneRoute>() == Questions::longestMatch);
   static_assert(answeredBy<AllAnswers>() ==
                 (Questions::longestMatch | Questions::parent | Questions::longerPresent | Questions::covering |
                  Questions::subtree | Questions::children | Questions::next | Questions::payload | Questions::dump |
                  Questions::dumpTree));
   static_assert(includes(answeredBy<AllAnswers>(), Questions::parent));
   static_assert(!includes(answeredBy<OneRoute>(), Questions::parent));
   const OneRoute table;
   const auto none = [](const Corenet::IpGenPrefix&) {};
   EXPECT_THROW(table.parent({}), std::logic_error);
   EXPECT_THROW(table.longerPresent({}), std::logic_error);
   EXPECT_THROW(table.covering({}, none), std::logic_error);
   EXPECT_THROW(table.subtree({}, none), std::logic_error);
   EXPECT_THROW(table.children({}, none), std::logic_error);
   EXPECT_THROW(table.next({}), std::logic_error);
   EXPECT_THROW(table.payload({}), std::logic_error);
   EXPECT_THROW(table.dump(nullptr), std::logic_error);
   std::ostringstream out;
   EXPECT_THROW(table.dumpTree(out), std::logic_error);
}

TEST(Op, asksTheTable) {
   const OneRoute table(prefix("10.0.0.0/8"));
   EXPECT_THAT(asked("match", table, "10.1.0.0/16").routes, testing::ElementsAre(prefix("10.0.0.0/8")));
   EXPECT_FALSE(asked("exact", table, "10.1.0.0/16").yes);
   EXPECT_TRUE(asked("exact", table, "10.0.0.0/8").yes);
   EXPECT_THAT(asked("match", OneRoute(), "10.1.0.0/16").routes, testing::IsEmpty());
   EXPECT_FALSE(asked("exact", OneRoute(), "0.0.0.0/0").yes);
   EXPECT_TRUE(asked("longer", AllAnswers(), "10.1.0.0/16").yes);
   EXPECT_THAT(asked("parent", AllAnswers(), "10.1.0.0/16").routes, testing::IsEmpty());
   EXPECT_THAT(asked("covering", AllAnswers(), "10.1.0.0/16").routes, testing::IsEmpty());
   EXPECT_THAT(asked("children", AllAnswers(), "10.1.0.0/16").routes, testing::IsEmpty());
   EXPECT_THAT(asked("subtree", AllAnswers(), "10.1.0.0/16").routes, testing::ElementsAre(prefix("10.1.0.0/16")));
   EXPECT_THAT(asked("next", AllAnswers(), "10.1.0.0/16").routes, testing::ElementsAre(prefix("10.1.0.0/16")));
}

TEST(Op, unknownOnesAndThoseThatAnEngineLacks) {
   EXPECT_EQ("no fault", faultOf("match", testEngines[0], testEngines));
   EXPECT_EQ("no fault", faultOf("parent", testEngines[1], testEngines));
   EXPECT_EQ("engine \"one\" has no op \"parent\": engines that have it are all",
             faultOf("parent", testEngines[0], testEngines));
   EXPECT_EQ("engine \"one\" has no op \"longer\": engines that have it are none",
             faultOf("longer", testEngines[0], std::span(testEngines, 1)));
   EXPECT_EQ("unknown op \"mach\": known are " + namesOf(ops()), faultOf("mach", testEngines[0], testEngines));
}

}  // namespace OpTest
}  // namespace Rtrie
