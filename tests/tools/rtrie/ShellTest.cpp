// Shell: commands as lines of a script, on tables that are read once.
#include "tools/rtrie/shell/Shell.h"

#include "Support.h"
#include "tools/rtrie/Op.h"
#include "tools/rtrie/shell/ShellCommands.h"

namespace Rtrie {
namespace ShellTests {

using Support::Ran;
using Support::rtrie;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class ShellTest : public testing::Test {
  protected:
   Ran shell(std::string_view lines, std::vector<std::string> arguments = {}) const {
      std::vector<std::string> words = {"shell", "--table", table_};
      words.insert(words.end(), arguments.begin(), arguments.end());
      return rtrie(words, lines);
   }
   // What the command prints by itself.
   std::string alone(std::vector<std::string> words) const {
      words.insert(words.begin() + 1, {"--table", table_});
      return rtrie(words).out;
   }

   const Support::Folder folder_;
   const std::string table_ =
      folder_.file("table", "0.0.0.0/0 all\n10.0.0.0/8 ten\n10.1.0.0/16 lan\n2001:db8::/32 doc\n");
   const std::string other_ = folder_.file("other", "10.0.0.0/8 ten\n10.2.0.0/16 new\n");
};

// Each command of rtrie that a shell has, with the same text as by itself.
TEST_F(ShellTest, commandsPrintWhatTheyDoByThemselves) {
   std::vector<std::string> tried = {"trace", "stats", "verify"};  // the last two tell times
   for (const auto& words : std::vector<std::vector<std::string>>{
           {"lookup", "10.1.2.3", "2001:db8::1"},
           {"lookup", "--op", "exact", "--format", "json", "10.1.0.0/16"},
           {"explain", "10.1.2.3"},
           {"explain", "--format", "json", "10.1.2.3"},
           {"walk", "--engine", "patricia", "10.0.0.0/8"},
           {"dump", "--engine", "gen"},
           {"aggregate", "--prefixes-only"},
           {"free", "--within", "172.16.0.0/12"},
           {"inspect", "--engine", "gen", "routes", "longestMatch(10.1.2.3/32)"},
        }) {
      EXPECT_NE("", alone(words));
      const Ran ran = shell(fmt::format("{}\n", fmt::join(words, " ")));
      EXPECT_EQ(alone(words), ran.out) << words[0];
      EXPECT_EQ("", ran.err);
      EXPECT_EQ(0, ran.status);
      tried.push_back(words[0]);
   }
   // Those that write a file: the same one, but for times.
   for (const auto& words : std::vector<std::vector<std::string>>{{"map", "--within", "10.0.0.0/8", "--size", "64"},
                                                                  {"report", "--size", "64"}}) {
      const auto file = folder_.path(words[0] + (words[0] == "map" ? ".svg" : ".html"));
      auto own = words;
      own.insert(own.begin() + 1, {"--table", table_, "--out", file});
      const int status = rtrie(own).status;
      const auto size = status == 0 ? std::filesystem::file_size(file) : 0;
      std::filesystem::remove(file);
      const Ran ran = shell(fmt::format("{} --out {}\n", fmt::join(words, " "), file));
      EXPECT_EQ(status == 0 ? 0 : 1, ran.status) << words[0];
      EXPECT_NEAR(static_cast<double>(size), static_cast<double>(Support::contentOf(file).size()), 10) << words[0];
      tried.push_back(words[0]);
   }
   EXPECT_EQ(rtrie({"diff", table_, other_}).out, shell("diff " + table_ + " " + other_).out);
   EXPECT_EQ(rtrie({"diff", table_, other_}).out, shell("diff " + other_).out) << "the tables in use and those";
   tried.emplace_back("diff");
   EXPECT_THAT(shell("stats").out, AllOf(StartsWith("engine           auto\nroutes           4\n")));
   EXPECT_THAT(shell("verify --engine table").out, HasSubstr("sound"));
   EXPECT_THAT(shell("inspect Routing::TrieGen").out, rtrie({"inspect", "Routing::TrieGen"}).out);
   for (const Command& command : commands()) {
      EXPECT_TRUE(!command.isForShells || testing::Value(tried, testing::Contains(std::string(command.name))))
         << command.name << " is to be tried here";
   }
}

TEST_F(ShellTest, opsAreCommands) {
   for (const Op& op : ops()) {
      const std::string name(op.name);
      EXPECT_EQ(alone({"lookup", "--op", name, "10.0.0.0/8"}), shell(name + " 10.0.0.0/8\n").out) << name;
   }
   EXPECT_EQ(alone({"lookup", "--op", "match", "--format", "json", "10.0.0.1"}),
             shell("match --format json 10.0.0.1").out);
}

TEST_F(ShellTest, aScriptGoesOnAndEndsWithOneWhereALineFailed) {
   const Ran ran = shell(
      "nothing\n\n# a comment\nmatch x 10.1.2.3\nmatch 10.1.2.3  # and another\nwalk 'a\nlookup --loud 1.1.1.1\n");
   EXPECT_EQ("10.1.2.3/32  10.1.0.0/16  lan\n10.1.2.3/32  10.1.0.0/16  lan\n", ran.out);
   EXPECT_EQ(
      "rtrie: <stdin>:1: unknown command \"nothing\": help tells those that there are\n"
      "rtrie: not an IPv4 address: \"x\"\n"
      "rtrie: <stdin>:6: a quote is not closed\n"
      "rtrie: <stdin>:7: the following argument was not expected: --loud\n",
      ran.err);
   EXPECT_EQ(1, ran.status);
   EXPECT_EQ(0, shell("# nothing\n\nmatch 10.1.2.3").status);
   EXPECT_EQ(0, shell("").status);
}

TEST_F(ShellTest, aDifferenceIsNoFault) {
   const Ran ran = shell("diff " + other_);
   EXPECT_NE("", ran.out);
   EXPECT_EQ(0, ran.status);
   EXPECT_EQ(1, shell("diff " + folder_.path("none")).status);
}

TEST_F(ShellTest, quitEnds) {
   EXPECT_EQ("10.1.2.3/32  10.1.0.0/16  lan\n", shell("match 10.1.2.3\nquit\nmatch 10.1.2.3\n").out);
   EXPECT_EQ("", shell("exit\nmatch 10.1.2.3\n").out);
}

TEST_F(ShellTest, tablesByName) {
   const Ran ran =
      shell(fmt::format("load {} --as other\ntables --format tsv\nmatch 10.2.0.1\nmatch --table {} 10.2.0.1\nuse {}\n"
                        "match 10.2.0.1\ndiff other\nunload {}\nmatch 10.2.0.1\ntables\n",
                        other_, table_, table_, table_),
            {"--as", table_});
   EXPECT_EQ(fmt::format("{0}\tno\t3\t1\t{0}\nother\tyes\t2\t0\t{1}\n"
                         "10.2.0.1/32  10.2.0.0/16  new\n10.2.0.1/32  10.0.0.0/8  ten\n10.2.0.1/32  10.0.0.0/8  ten\n"
                         "- 0.0.0.0/0 all\n- 10.1.0.0/16 lan\n+ 10.2.0.0/16 new\n- 2001:db8::/32 doc\n"
                         "  other  2 IPv4, 0 IPv6  of {1}\n",
                         table_, other_),
             ran.out);
   EXPECT_EQ("rtrie: <stdin>:9: no table is loaded: load FILE, or --table FILE\n", ran.err);
   EXPECT_EQ(1, ran.status);
   EXPECT_EQ("name,used,ipv4,ipv6,files\nt,yes,3,1," + table_ + "\n",
             shell("tables --format csv", {"--as", "t"}).out);
   EXPECT_EQ("{\"name\":\"t\",\"used\":true,\"ipv4\":3,\"ipv6\":1,\"files\":[\"" + table_ + "\"]}\n",
             shell("tables --format json", {"--as", "t"}).out);
}

TEST_F(ShellTest, aLoadThatFailsLeavesTheTables) {
   const Ran ran = shell("load " + folder_.path("none") + "\nmatch 10.1.2.3\n");
   EXPECT_EQ("10.1.2.3/32  10.1.0.0/16  lan\n", ran.out);
   EXPECT_THAT(ran.err, StartsWith("rtrie: <stdin>:1: " + folder_.path("none") + ": cannot open"));
   EXPECT_EQ(1, ran.status);
}

TEST_F(ShellTest, badLinesOfATableAreToldOnce) {
   const auto bad = folder_.file("bad", "10.0.0.0/8\nx\n");
   const Ran ran = rtrie({"shell", "--table", bad}, "match 10.0.0.1\n");
   EXPECT_EQ(1, ran.status);
   EXPECT_EQ(1, rtrie({"shell"}, "load " + bad + "\n").status);
   EXPECT_EQ(3, rtrie({"shell", "--table", folder_.path("none")}, "tables\n").status);
}

TEST_F(ShellTest, withoutTables) {
   EXPECT_EQ("", rtrie({"shell"}, "tables\n").out);
   EXPECT_EQ("10.0.0.1/32  10.0.0.0/8  ten\n", rtrie({"shell"}, "match --table " + table_ + " 10.0.0.1").out);
   EXPECT_THAT(rtrie({"shell"}, "match 10.0.0.1").err, HasSubstr("no table is loaded"));
}

TEST_F(ShellTest, standardInputIsTheShells) {
   EXPECT_THAT(shell("match\n").err, HasSubstr("what is asked? give the queries behind the command"));
   EXPECT_THAT(shell("match --table - 10.0.0.1\nwalk\n").err, HasSubstr("standard input holds the shell's commands"));
   EXPECT_THAT(shell("trace -\n").err, HasSubstr("standard input holds the shell's commands"));
   EXPECT_THAT(shell("diff -\n").err, HasSubstr("standard input holds the shell's commands"));
   EXPECT_THAT(shell("watch\n").err, HasSubstr("unknown command"));
   EXPECT_EQ(2, rtrie({"shell", "--table", "-"}, "").status);
}

TEST_F(ShellTest, outputGoesOn) {
   const auto file = folder_.path("out");
   const Ran ran = shell("walk 10.0.0.0/8 > " + file + "\nwalk 2001:db8::/32 >> " + file +
                         "\nwalk | tail -1\nmatch 10.1.2.3\nhelp match | head -1\n");
   EXPECT_EQ(0, ran.status);
   EXPECT_EQ("10.0.0.0/8 ten\n10.1.0.0/16 lan\n2001:db8::/32 doc\n", Support::contentOf(file));
   EXPECT_EQ("2001:db8::/32 doc\n10.1.2.3/32  10.1.0.0/16  lan\nLoad tables and answer queries about their routes\n",
             ran.out);
   EXPECT_EQ(1, shell("walk | false").status);
   EXPECT_EQ(1, shell("walk > " + folder_.path("no/file")).status);
   EXPECT_THAT(shell("> " + file).err, HasSubstr("no command whose output could go there"));
}

TEST_F(ShellTest, aReaderThatHasEnoughIsNoFault) {
   std::string routes;
   for (int i = 0; i < 65'536; ++i) {
      routes += fmt::format("10.{}.{}.0/24\n", i / 256, i % 256);
   }
   const auto large = folder_.file("large", routes);
   const Ran ran = rtrie({"shell", "--table", large}, "walk | head -1\nmatch 10.0.0.1\n");
   EXPECT_EQ("10.0.0.0/24\n10.0.0.1/32  10.0.0.0/24\n", ran.out);
   EXPECT_EQ("", ran.err);
   EXPECT_EQ(0, ran.status);
}

TEST_F(ShellTest, help) {
   const auto out = shell("help\n").out;
   for (const std::string& word : shellWords()) {
      EXPECT_THAT(out, HasSubstr("\n  " + word + " ")) << word;
   }
   EXPECT_THAT(shell("help load").out, AllOf(HasSubstr("Usage: load [OPTIONS] FILE..."), HasSubstr("--as NAME")));
   EXPECT_EQ(shell("help match").out, shell("match --help").out);
   EXPECT_THAT(shell("help x").err, HasSubstr("unknown command \"x\""));
}

}  // namespace ShellTests
}  // namespace Rtrie
