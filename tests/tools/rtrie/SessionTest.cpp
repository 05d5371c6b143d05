// Session: tables that a command reads for itself, and those that a shell has.
#include "tools/rtrie/Session.h"

#include "Support.h"
#include "tools/rtrie/Errors.h"
#include "tools/tables/Interrupt.h"

namespace Rtrie {
namespace SessionTests {

using Support::prefix;
using testing::HasSubstr;

class SessionTest : public testing::Test {
  protected:
   LoadOptions optionsOf(const std::string& path) const {
      LoadOptions options;
      options.tables = {path};
      return options;
   }
   std::uint64_t routesOf(const Session& session, const std::string& name) const {
      return session.tables(optionsOf(name))->routes().size();
   }

   const Support::Folder folder_;
   const std::string one_ = folder_.file("one", "10.0.0.0/8 ten\n");
   const std::string two_ = folder_.file("two", "10.0.0.0/8 a\n10.1.0.0/16 b\nbad\n");
};

std::string usageErrorOf(const std::function<void()>& call) {
   try {
      call();
   } catch (const UsageError& error) {
      return error.what();
   }
   return "none";
}

TEST_F(SessionTest, aCommandReadsWhatItsOptionsName) {
   const Session session(Session::Kind::command);
   const auto asked = session.tables(optionsOf(two_));
   EXPECT_EQ(2u, asked->routes().size());
   EXPECT_EQ(1u, asked.faults);
   EXPECT_EQ("--table is required", usageErrorOf([&] { session.tables(LoadOptions()); }));
}

TEST_F(SessionTest, aShellHasTablesByName) {
   Session session(Session::Kind::shell);
   EXPECT_EQ(nullptr, session.used());
   EXPECT_THAT(usageErrorOf([&] { session.tables(LoadOptions()); }), HasSubstr("no table is loaded: load FILE"));
   session.load("", optionsOf(one_));
   EXPECT_EQ(one_, session.used()->name);
   session.load("pair", optionsOf(two_));
   EXPECT_EQ("pair", session.used()->name);
   EXPECT_EQ(2u, session.tables(LoadOptions())->routes().size());
   EXPECT_EQ(0u, session.tables(LoadOptions()).faults) << "told when it was loaded";
   EXPECT_EQ(1u, routesOf(session, one_));
   std::filesystem::remove(two_);
   EXPECT_EQ(2u, routesOf(session, "pair")) << "read again";

   session.use(one_);
   EXPECT_EQ(1u, session.tables(LoadOptions())->routes().size());
   session.unload(one_);
   EXPECT_EQ(nullptr, session.used());
   EXPECT_EQ(1u, session.all().size());
   EXPECT_EQ("unknown table \"x\": known are pair", usageErrorOf([&] { session.use("x"); }));
   session.unload("pair");
   EXPECT_EQ("no table is loaded", usageErrorOf([&] { session.unload("pair"); }));
}

TEST_F(SessionTest, aLoadThatFailsChangesNothing) {
   Session session(Session::Kind::shell);
   session.load("it", optionsOf(one_));
   EXPECT_THROW(session.load("it", optionsOf(folder_.path("none"))), DataError);
   EXPECT_EQ(1u, routesOf(session, "it"));
   EXPECT_EQ("it", session.used()->name);
   session.load("it", optionsOf(two_));
   EXPECT_EQ(2u, routesOf(session, "it"));
   EXPECT_EQ(1u, session.all().size());
}

TEST_F(SessionTest, aCommandThatRunsKeepsItsTables) {
   Session session(Session::Kind::shell);
   session.load("it", optionsOf(one_));
   const auto asked = session.tables(LoadOptions());
   session.unload("it");
   EXPECT_EQ("ten", asked->routes().payload(prefix("10.0.0.0/8")));
}

TEST_F(SessionTest, loadedTablesAreNotSelectedAnew) {
   Session session(Session::Kind::shell);
   session.load("it", optionsOf(one_));
   LoadOptions options;
   options.peer = "all";
   EXPECT_THAT(usageErrorOf([&] { session.tables(options); }), HasSubstr("--peer is for tables that are read"));
   options = LoadOptions();
   options.strict = true;
   EXPECT_THAT(usageErrorOf([&] { session.tables(options); }), HasSubstr("--strict is for"));
   options = LoadOptions();
   options.masksHostBits = true;
   EXPECT_THAT(usageErrorOf([&] { session.tables(options); }), HasSubstr("--host-bits is for"));
   options = LoadOptions();
   options.routeTable = "all";
   options.tables = {"it"};
   EXPECT_THAT(usageErrorOf([&] { session.tables(options); }), HasSubstr("--route-table is for"));
}

TEST_F(SessionTest, standardInputIsTheShells) {
   const Session session(Session::Kind::shell);
   EXPECT_THAT(usageErrorOf([&] { session.checkStandardInput(optionsOf("-")); }), HasSubstr("standard input holds"));
   EXPECT_THAT(usageErrorOf([&] { session.checkStandardInput(LoadOptions(), StandardInput::queries); }),
               HasSubstr("what is asked?"));
   EXPECT_THAT(usageErrorOf([&] { session.checkStandardInput(LoadOptions(), StandardInput::updates); }),
               HasSubstr("can't be the updates"));
   EXPECT_EQ("none", usageErrorOf([&] { Session(Session::Kind::command).checkStandardInput(optionsOf("-")); }));
}

// What stops a walk is no fault of the engine, which goes on answering.
TEST_F(SessionTest, everyEngineAnswersAfterAWalkThatWasInterrupted) {
   std::string text = "0.0.0.0/0\n::/0\n";
   for (int i = 0; i < 200; ++i) {
      text += fmt::format("10.{}.0.0/16\n2001:db8:{:x}::/48\n", i, i);
   }
   Session session(Session::Kind::shell);
   session.load("it", optionsOf(folder_.file("many", text)));
   const auto asked = session.tables(LoadOptions());
   for (const Engine& engine : engines()) {
      for (const auto af : families) {
         const auto& table = asked->in(engine).of(af).table;
         if (!table) {
            continue;
         }
         SCOPED_TRACE(fmt::format("{} {}", engine.name, Corenet::stringValue(af).view()));
         const auto all = prefix(af == Corenet::ipv4() ? "0.0.0.0/0" : "::/0");
         for (const auto walk : {&RouteTable::subtree, &RouteTable::children, &RouteTable::covering}) {
            std::uint64_t seen = 0;
            EXPECT_THROW((*table.*walk)(all,
                                        [&](const auto&) {
                                           if (++seen == (walk == &RouteTable::covering ? 1 : 3)) {
                                              throw Interrupted();
                                           }
                                        }),
                         Interrupted);
         }
         std::uint64_t seen = 0;
         table->subtree(all, [&](const auto&) { ++seen; });
         EXPECT_EQ(201u, seen);
         EXPECT_EQ(all, table->longestMatch(all));
         EXPECT_EQ("", includes(engine.answers, Questions::audit) ? table->audit() : "");
      }
   }
}

}  // namespace SessionTests
}  // namespace Rtrie
