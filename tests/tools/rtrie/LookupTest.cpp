// LookupCommand: the program, run over small tables of every format.
#include "tools/rtrie/commands/LookupCommand.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "Support.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/Op.h"
#include "tools/rtrie/Registry.h"

extern char** environ;

namespace Rtrie {
namespace LookupTest {

using Support::Ran;
using Support::rtrie;
using testing::HasSubstr;

constexpr std::string_view table =
   "# sites\n"
   "\n"
   "0.0.0.0/0 upstream\n"
   "10.0.0.0/8 private\n"
   "10.1.0.0/16,branch  # a comment\n"
   "192.0.2.1 host\n"
   "2001:db8::/32 docs\n"
   "2001:db8:1::/48\n";

std::vector<std::string> enginesOfBothFamilies() {
   std::vector<std::string> names;
   for (const Engine& engine : engines()) {
      if (engine.ipv4 && engine.ipv6) {
         names.emplace_back(engine.name);
      }
   }
   return names;
}

class Lookup : public testing::Test {
  protected:
   Ran lookup(std::vector<std::string> arguments, std::string_view input = "") const {
      arguments.insert(arguments.begin(), {"lookup", "--table", table_});
      return rtrie(arguments, input);
   }
   // As tsv, without anything on standard error and with status 0.
   std::string answers(std::vector<std::string> arguments, std::string_view input = "") const {
      arguments.insert(arguments.begin(), {"--format", "tsv"});
      const Ran ran = lookup(std::move(arguments), input);
      EXPECT_EQ("", ran.err);
      EXPECT_EQ(0, ran.status);
      return ran.out;
   }

   Support::Folder folder_;
   std::string table_ = folder_.file("table.txt", table);
};

TEST_F(Lookup, everyOpInEveryEngine) {
   for (const std::string& engine : enginesOfBothFamilies()) {
      SCOPED_TRACE(engine);
      EXPECT_EQ(
         "10.1.2.3/32\t10.1.0.0/16\n"
         "10.2.0.0/16\t10.0.0.0/8\n"
         "192.0.2.1/32\t192.0.2.1/32\n"
         "192.0.2.2/32\t0.0.0.0/0\n"
         "0.0.0.0/0\t0.0.0.0/0\n"
         "2001:db8::1/128\t2001:db8::/32\n"
         "2001:db8:1::/48\t2001:db8:1::/48\n"
         "2001:db9::/32\t-\n"
         "::/0\t-\n",
         answers({"--engine", engine, "10.1.2.3", "10.2.0.0/16", "192.0.2.1", "192.0.2.2", "0.0.0.0/0", "2001:db8::1",
                  "2001:db8:1::/48", "2001:db9::/32", "::/0"}));
      EXPECT_EQ(
         "10.0.0.0/8\tyes\n"
         "10.0.0.0/9\tno\n"
         "0.0.0.0/0\tyes\n"
         "::/0\tno\n"
         "2001:db8:1::/48\tyes\n",
         answers({"--engine", engine, "--op", "exact", "10.0.0.0/8", "10.0.0.0/9", "0.0.0.0/0", "::/0",
                  "2001:db8:1::/48"}));
      EXPECT_EQ(
         "10.1.0.0/16\t10.0.0.0/8\n"
         "10.0.0.0/8\t0.0.0.0/0\n"
         "0.0.0.0/0\t-\n"
         "::/0\t-\n"
         "2001:db8:1::/48\t2001:db8::/32\n"
         "2001:db8::/32\t-\n",
         answers({"--engine", engine, "--op", "parent", "10.1.0.0/16", "10.0.0.0/8", "0.0.0.0/0", "::/0",
                  "2001:db8:1::/48", "2001:db8::/32"}));
      EXPECT_EQ(
         "10.0.0.0/8\tyes\n"
         "10.1.0.0/16\tno\n"
         "192.0.0.0/16\tyes\n"
         "0.0.0.0/0\tyes\n"
         "2001:db8::/32\tyes\n"
         "2001:db8:1::/48\tno\n",
         answers({"--engine", engine, "--op", "longer", "10.0.0.0/8", "10.1.0.0/16", "192.0.0.0/16", "0.0.0.0/0",
                  "2001:db8::/32", "2001:db8:1::/48"}));
   }
}

TEST_F(Lookup, opsWithManyAnswersHaveALineForEach) {
   for (const std::string& engine : enginesOfBothFamilies()) {
      SCOPED_TRACE(engine);
      EXPECT_EQ(
         "10.0.0.0/8\t10.0.0.0/8\n"
         "10.0.0.0/8\t10.1.0.0/16\n"
         "10.64.0.0/16\t-\n"
         "2001:db8::/31\t2001:db8::/32\n"
         "2001:db8::/31\t2001:db8:1::/48\n",
         answers({"--engine", engine, "--op", "subtree", "10.0.0.0/8", "10.64.0.0/16", "2001:db8::/31"}));
      EXPECT_EQ(
         "0.0.0.0/0\t10.0.0.0/8\n"
         "0.0.0.0/0\t192.0.2.1/32\n"
         "10.1.0.0/16\t-\n"
         "::/0\t2001:db8::/32\n"
         "2001:db8::/31\t2001:db8::/32\n",
         answers({"--engine", engine, "--op", "children", "0.0.0.0/0", "10.1.0.0/16", "::/0", "2001:db8::/31"}));
      EXPECT_EQ(
         "10.1.2.3/32\t0.0.0.0/0\n"
         "10.1.2.3/32\t10.0.0.0/8\n"
         "10.1.2.3/32\t10.1.0.0/16\n"
         "2001:db8:1::1/128\t2001:db8::/32\n"
         "2001:db8:1::1/128\t2001:db8:1::/48\n"
         "::/0\t-\n",
         answers({"--engine", engine, "--op", "covering", "10.1.2.3", "2001:db8:1::1", "::/0"}));
   }
}

TEST_F(Lookup, nextStepsThroughTheRoutes) {
   for (const std::string& engine : enginesOfBothFamilies()) {
      SCOPED_TRACE(engine);
      EXPECT_EQ(
         "0.0.0.0/0\t10.0.0.0/8\n"
         "10.0.0.0/8\t10.1.0.0/16\n"
         "10.1.0.0/16\t192.0.2.1/32\n"
         "192.0.2.1/32\t-\n"
         "2001:db8::/32\t2001:db8:1::/48\n"
         "2001:db8:0:7::/64\t2001:db8:1::/48\n"
         "2001:db8:1::/48\t-\n",
         answers({"--engine", engine, "--op", "next", "0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16", "192.0.2.1",
                  "2001:db8::/32", "2001:db8:0:7::/64", "2001:db8:1::/48"}));
   }
}

TEST_F(Lookup, textIsTheDefaultAndHasThePayload) {
   const Ran ran = lookup({"10.1.2.3", "2001:db9::1", "2001:db8:1::1"});
   EXPECT_EQ(
      "10.1.2.3/32        10.1.0.0/16      branch\n"
      "2001:db9::1/128    -\n"
      "2001:db8:1::1/128  2001:db8:1::/48\n",
      ran.out);
   EXPECT_EQ("", ran.err);
   EXPECT_EQ(0, ran.status);
}

TEST_F(Lookup, jsonIsAnObjectALine) {
   const Ran ran = lookup({"--format", "json", "10.2.0.0/16", "2001:db9::1"});
   std::istringstream lines(ran.out);
   std::string line;
   ASSERT_TRUE(std::getline(lines, line));
   EXPECT_EQ((nlohmann::json{{"query", "10.2.0.0/16"}, {"answer", "10.0.0.0/8"}, {"payload", "private"}}),
             nlohmann::json::parse(line));
   ASSERT_TRUE(std::getline(lines, line));
   EXPECT_EQ((nlohmann::json{{"query", "2001:db9::1/128"}, {"answer", nullptr}, {"payload", nullptr}}),
             nlohmann::json::parse(line));
   EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(Lookup, queriesAreShownInTheirCanonicalText) {
   EXPECT_EQ("2001:db8::/32\t2001:db8::/32\n", answers({"2001:0DB8:0:0::/32"}));
}

TEST_F(Lookup, queriesFromStandardInput) {
   EXPECT_EQ("10.1.2.3/32\t10.1.0.0/16\n2001:db8::/32\t2001:db8::/32\n10.0.0.0/8\t10.0.0.0/8\n",
             answers({}, "# queries\n\n  10.1.2.3  \r\n2001:db8::/32 # inside\n10.0.0.0/8"));
   EXPECT_EQ("", answers({}, ""));
}

TEST_F(Lookup, badQueriesAreToldAndTheOthersAnswered) {
   const Ran ran =
      lookup({"--format", "tsv", "10.0.0.0/33", "10.0.0.1/8", "10.1.2.3", "elsewhere", "2001:db8::1/64"});
   EXPECT_EQ("10.1.2.3/32\t10.1.0.0/16\n", ran.out);
   EXPECT_EQ(
      "rtrie: prefix length 33 exceeds 32: \"10.0.0.0/33\"\n"
      "rtrie: address has bits set past the prefix length: \"10.0.0.1/8\"\n"
      "rtrie: not an IPv4 address: \"elsewhere\"\n"
      "rtrie: address has bits set past the prefix length: \"2001:db8::1/64\"\n",
      ran.err);
   EXPECT_EQ(1, ran.status);
}

TEST_F(Lookup, badQueriesFromStandardInputHaveALineNumber) {
   const Ran ran = lookup({"--format", "tsv"}, "10.1.2.3\n# comment\n10.0.0.0/33\n10.2.0.0/16\n");
   EXPECT_EQ("10.1.2.3/32\t10.1.0.0/16\n10.2.0.0/16\t10.0.0.0/8\n", ran.out);
   EXPECT_EQ("rtrie: <stdin>:3: prefix length 33 exceeds 32: \"10.0.0.0/33\"\n", ran.err);
   EXPECT_EQ(1, ran.status);
}

TEST_F(Lookup, aFamilyThatTheTableLacks) {
   const auto only4 = folder_.file("only4", "10.0.0.0/8\n");
   Ran ran = rtrie({"lookup", "--format", "tsv", "--table", only4, "2001:db8::1", "10.1.2.3"});
   EXPECT_EQ("10.1.2.3/32\t10.0.0.0/8\n", ran.out);
   EXPECT_EQ("rtrie: the table has no IPv6 routes: \"2001:db8::1\"\n", ran.err);
   EXPECT_EQ(1, ran.status);
   const auto only6 = folder_.file("only6", "2001:db8::/32\n");
   ran = rtrie({"lookup", "--format", "tsv", "--table", only6, "10.0.0.0/8"});
   EXPECT_EQ("", ran.out);
   EXPECT_EQ("rtrie: the table has no IPv4 routes: \"10.0.0.0/8\"\n", ran.err);
   EXPECT_EQ(3, ran.status);
}

TEST_F(Lookup, severalTablesMakeOne) {
   const auto more = folder_.gzFile("more.gz", "10.1.0.0/16 moved\n10.3.0.0/16 new\n");
   const Ran ran = lookup({"--table", more, "10.1.0.0/16", "10.3.0.0/16", "10.4.0.0/16"});
   EXPECT_EQ(
      "10.1.0.0/16  10.1.0.0/16  moved\n"
      "10.3.0.0/16  10.3.0.0/16  new\n"
      "10.4.0.0/16  10.0.0.0/8   private\n",
      ran.out);
   EXPECT_EQ(0, ran.status);
}

TEST_F(Lookup, tableFromStandardInput) {
   for (const std::string& input : {std::string(table), Support::gz(table)}) {
      const Ran ran = rtrie({"lookup", "--table", "-", "--format", "tsv", "10.1.2.3"}, input);
      EXPECT_EQ("10.1.2.3/32\t10.1.0.0/16\n", ran.out);
      EXPECT_EQ("", ran.err);
      EXPECT_EQ(0, ran.status);
   }
   const Ran bad = rtrie({"lookup", "--table", "-", "--format", "tsv", "10.1.2.3"}, "10.0.0.0/33\n10.0.0.0/8\n");
   EXPECT_THAT(bad.err, HasSubstr("rtrie: <stdin>:1: prefix length 33 exceeds 32: \"10.0.0.0/33\"\n"));
}

TEST_F(Lookup, tablesOfEveryFormat) {
   const auto answer = [&](std::string_view content, const std::string& query) {
      const Ran ran = rtrie({"lookup", "--table", folder_.file("any", content), query});
      EXPECT_EQ("", ran.err);
      return ran.out;
   };
   EXPECT_EQ("1.0.2.7/32  1.0.2.0/23  CN\n",
             answer("# header\n16777216,16777471,AU\n16777472,16778239,CN\n", "1.0.2.7"));
   EXPECT_EQ("2001:2::9/128  2001:2::/48  JP\n",
             answer("2001::,2001:0:ffff:ffff:ffff:ffff:ffff:ffff,??\n2001:2::,2001:2:0:ffff:ffff:ffff:ffff:ffff,JP\n",
                    "2001:2::9"));
   EXPECT_EQ(
      "10.9.0.0/16  10.0.0.0/8  65000 65001\n",
      answer("TABLE_DUMP2|1|B|192.0.2.1|65000|10.0.0.0/8|65000 65001|IGP|192.0.2.1|0|0||NAG||\n", "10.9.0.0/16"));
   EXPECT_EQ("8.8.8.8/32  0.0.0.0/0  via 192.0.2.1 dev eth0\n",
             answer("default via 192.0.2.1 dev eth0 \n192.0.2.0/24 dev eth0 proto kernel scope link src 192.0.2.5 \n",
                    "8.8.8.8"));
   EXPECT_EQ("2001:db8::1/128  ::/0  via fe80::1 dev eth0\n",
             answer("fe80::/64 dev eth0 metric 256 pref medium\ndefault via fe80::1 dev eth0\n", "2001:db8::1"));
}

TEST_F(Lookup, badLinesAreToldAndTheRestLoads) {
   const auto bad = folder_.file("bad", "10.0.0.0/8 a\n10.0.0.0/33\n# fine\n\n10.0.0.1/8\n11.0.0.0/8 b\n");
   const Ran ran = rtrie({"lookup", "--table", bad, "--format", "tsv", "10.0.0.1", "11.0.0.1"});
   EXPECT_EQ("10.0.0.1/32\t10.0.0.0/8\n11.0.0.1/32\t11.0.0.0/8\n", ran.out);
   EXPECT_EQ("rtrie: " + bad + ":2: prefix length 33 exceeds 32: \"10.0.0.0/33\"\n" + "rtrie: " + bad +
                ":5: address has bits set past the prefix length: \"10.0.0.1/8\"\n" + "rtrie: " + bad +
                ": 2 bad lines left out of 4\n",
             ran.err);
   EXPECT_EQ(1, ran.status);
}

TEST_F(Lookup, manyBadLinesAreCounted) {
   std::string content = "10.0.0.0/8\n";
   for (int i = 0; i < 1000; ++i) {
      content += "nonsense\n10.0.0.0/8\n";
   }
   const auto bad = folder_.file("bad", content);
   const Ran ran = rtrie({"lookup", "--table", bad, "10.0.0.1"});
   EXPECT_EQ(22, std::count(ran.err.begin(), ran.err.end(), '\n'));
   EXPECT_THAT(ran.err, HasSubstr(bad + ":40: "));
   EXPECT_THAT(ran.err, testing::EndsWith(
                           bad + ": 1,000 bad lines left out of 2,001 (980 of them not shown)\nrtrie: " + bad +
                           ": 1,000 routes lost to another of the same prefix (1,000 in lists, by the last line; "
                           "1,000 of all these said the same again); lookup --op exact --format json shows them\n"));
   EXPECT_EQ(1, ran.status);
}

TEST_F(Lookup, strictStopsAtTheFirstBadLine) {
   const auto bad = folder_.file("bad", "10.0.0.0/8\n10.0.0.0/33\nnonsense\n");
   const Ran ran = rtrie({"lookup", "--strict", "--table", bad, "10.0.0.1"});
   EXPECT_EQ("", ran.out);
   EXPECT_EQ("rtrie: " + bad + ":2: prefix length 33 exceeds 32: \"10.0.0.0/33\"\n", ran.err);
   EXPECT_EQ(3, ran.status);
   EXPECT_EQ(0, lookup({"--strict", "10.0.0.1"}).status);
}

TEST_F(Lookup, tablesThatCannotBeRead) {
   const auto oneLine = [&](const std::string& path) {
      const Ran ran = rtrie({"lookup", "--table", path, "10.0.0.1"});
      EXPECT_EQ("", ran.out);
      EXPECT_EQ(1, std::count(ran.err.begin(), ran.err.end(), '\n')) << ran.err;
      EXPECT_EQ(3, ran.status);
      return ran.err;
   };
   const auto absent = folder_.path("absent");
   EXPECT_EQ("rtrie: " + absent + ": cannot open: No such file or directory\n", oneLine(absent));
   EXPECT_EQ("rtrie: " + folder_.path("") + ": is a directory\n", oneLine(folder_.path("")));
   const std::string whole = Support::gz(std::string(table) + std::string(table));
   const auto cut = folder_.file("cut.gz", whole.substr(0, whole.size() - 1));
   EXPECT_EQ("rtrie: " + cut + ": truncated .gz: the file ends before its data does\n", oneLine(cut));
   for (const char* content : {"", "\n\n", "# nothing\n"}) {
      const auto empty = folder_.file("empty", content);
      EXPECT_EQ("rtrie: " + empty + ": the table has no routes\n", oneLine(empty));
   }
   const auto emptyGz = folder_.gzFile("empty.gz", "");
   EXPECT_EQ("rtrie: " + emptyGz + ": the table has no routes\n", oneLine(emptyGz));
}

TEST_F(Lookup, anEmptyTableBesideAnother) {
   const auto empty = folder_.file("empty", "# nothing\n");
   const Ran ran = lookup({"--table", empty, "--format", "tsv", "10.1.2.3"});
   EXPECT_EQ("10.1.2.3/32\t10.1.0.0/16\n", ran.out);
   EXPECT_EQ("rtrie: " + empty + ": the table has no routes\n", ran.err);
   EXPECT_EQ(1, ran.status);
}

TEST_F(Lookup, badUsageIsOneLine) {
   const auto usage = [&](std::vector<std::string> arguments) {
      const Ran ran = lookup(std::move(arguments));
      EXPECT_EQ("", ran.out);
      EXPECT_EQ(1, std::count(ran.err.begin(), ran.err.end(), '\n')) << ran.err;
      EXPECT_EQ(2, ran.status);
      return ran.err;
   };
   EXPECT_EQ("rtrie: unknown engine \"radix\": known are " + namesOf(engines()) + "\n", usage({"--engine", "radix"}));
   EXPECT_EQ("rtrie: unknown op \"nearest\": known are " + namesOf(ops()) + "\n", usage({"--op", "nearest"}));
   EXPECT_EQ("rtrie: unknown format \"xml\": known are text, tsv, tsv-payload, csv, json\n",
             usage({"--format", "xml"}));
   EXPECT_THAT(usage({"--colour"}), HasSubstr("--colour"));
   EXPECT_THAT(usage({"--op"}), HasSubstr("--op"));
   EXPECT_EQ("rtrie: standard input is the table: give the queries as arguments\n", usage({"--table", "-"}));
   EXPECT_EQ("rtrie: standard input can be a table only once\n", usage({"--table", "-", "--table", "-", "10.0.0.1"}));
}

TEST_F(Lookup, aCommandsNameIsAQueryLikeAnyOther) {
   const Ran ran = lookup({"stats"});
   EXPECT_EQ("rtrie: not an IPv4 address: \"stats\"\n", ran.err);
   EXPECT_EQ(3, ran.status);
}

TEST_F(Lookup, theTableIsRequired) {
   const Ran ran = rtrie({"lookup", "10.0.0.1"});
   EXPECT_EQ("rtrie: --table is required\n", ran.err);
   EXPECT_EQ(2, ran.status);
}

// A program that asks one query at a time over pipes has each answer before it asks the next.
TEST_F(Lookup, answersDoNotWaitForMoreQueries) {
   int queries[2];
   int answers[2];
   ASSERT_EQ(0, pipe2(queries, O_CLOEXEC));
   ASSERT_EQ(0, pipe2(answers, O_CLOEXEC));
   posix_spawn_file_actions_t files;
   posix_spawn_file_actions_init(&files);
   posix_spawn_file_actions_adddup2(&files, queries[0], STDIN_FILENO);
   posix_spawn_file_actions_adddup2(&files, answers[1], STDOUT_FILENO);
   std::vector<std::string> words = {"rtrie", "lookup", "--format", "tsv", "--table", table_};
   std::vector<char*> pointers;
   for (auto& word : words) {
      pointers.push_back(word.data());
   }
   pointers.push_back(nullptr);
   pid_t child = 0;
   ASSERT_EQ(0, posix_spawn(&child, RTRIE_PROGRAM, &files, nullptr, pointers.data(), environ));
   posix_spawn_file_actions_destroy(&files);
   close(queries[0]);
   close(answers[1]);

   const auto ask = [&](const std::string& query) {
      const std::string line = query + "\n";
      EXPECT_EQ(static_cast<ssize_t>(line.size()), write(queries[1], line.data(), line.size()));
      pollfd ready = {answers[0], POLLIN, 0};
      constexpr int patienceMs = 20000;
      if (poll(&ready, 1, patienceMs) != 1) {
         return std::string("no answer");
      }
      std::string answer(200, '\0');
      answer.resize(static_cast<std::size_t>(read(answers[0], answer.data(), answer.size())));
      return answer;
   };
   EXPECT_EQ("10.1.2.3/32\t10.1.0.0/16\n", ask("10.1.2.3"));
   EXPECT_EQ("2001:db8::/32\t2001:db8::/32\n", ask("2001:db8::/32"));
   close(queries[1]);
   int status = 0;
   waitpid(child, &status, 0);
   EXPECT_EQ(0, status);
   close(answers[0]);
}

TEST_F(Lookup, manyQueries) {
   std::string input;
   std::string expected;
   for (int i = 0; i < 100000; ++i) {
      const std::string query = fmt::format("10.{}.{}.0/24", i % 3, i % 256);
      input += query + "\n";
      expected += query + (i % 3 == 1 ? "\t10.1.0.0/16\n" : "\t10.0.0.0/8\n");
   }
   EXPECT_EQ(expected, answers({}, input));
}

TEST_F(Lookup, csvHasTheNamesOfItsColumns) {
   const Ran ran = lookup({"--format", "csv", "10.1.2.3", "2001:db8:1::1", "::1"});
   EXPECT_EQ("query,answer,payload\n10.1.2.3/32,10.1.0.0/16,branch\n2001:db8:1::1/128,2001:db8:1::/48,\n::1/128,-,\n",
             ran.out);
   EXPECT_EQ(0, ran.status);
   EXPECT_EQ("query,answer,payload\n10.0.0.0/8,yes,private\n",
             lookup({"--format", "csv", "--op", "exact", "10.0.0.0/8"}).out);
}

}  // namespace LookupTest
}  // namespace Rtrie
