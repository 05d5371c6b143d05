// AnswerFormat: the same answers as text, tsv and json.
#include "tools/rtrie/AnswerFormat.h"

#include <fcntl.h>
#include <unistd.h>

#include "Support.h"
#include "tools/rtrie/Registry.h"

namespace Rtrie {
namespace AnswerFormatTest {

using Support::prefix;

class AnswerFormatTest : public testing::Test {
  protected:
   AnswerFormatTest() {
      routes_.add(prefix("10.0.0.0/8"), "private \"use\"");
      routes_.add(prefix("10.1.0.0/16"), "");
      routes_.add(prefix("11.0.0.0/8"), "caf\xe9");  // no UTF-8
      routes_.seal();
   }

   struct Case {
      std::string_view query;
      bool yes;
      std::vector<std::string_view> routes;
   };

   std::string printed(std::string_view format, std::string_view op, const std::vector<Case>& cases) {
      const auto path = folder_.file("out", "");
      const int descriptor = open(path.c_str(), O_WRONLY);
      Output output(descriptor);
      const auto writer = rowNamed(answerFormats(), "format", format)
                             .writer(
                                output, [this](const Corenet::IpGenPrefix& route) { return routes_.payload(route); },
                                rowNamed(ops(), "op", op));
      for (const auto& c : cases) {
         Answer answer;
         answer.yes = c.yes;
         for (auto route : c.routes) {
            answer.routeIs(prefix(route));
         }
         writer->write(prefix(c.query), answer);
      }
      writer->flush();
      close(descriptor);
      return Support::contentOf(path);
   }

   Support::Folder folder_;
   RouteSet routes_;
   // One answer, none, an answer without payload, many answers.
   std::vector<Case> matches_ = {{"10.2.0.0/16", false, {"10.0.0.0/8"}},
                                 {"2001:db8::/32", false, {}},
                                 {"10.1.2.3/32", false, {"10.1.0.0/16"}},
                                 {"10.1.0.0/16", false, {"10.0.0.0/8", "10.1.0.0/16"}}};
   std::vector<Case> yesNo_ = {{"10.0.0.0/8", true, {}}, {"12.0.0.0/8", false, {}}};
};

TEST_F(AnswerFormatTest, tsv) {
   EXPECT_EQ(
      "10.2.0.0/16\t10.0.0.0/8\n"
      "2001:db8::/32\t-\n"
      "10.1.2.3/32\t10.1.0.0/16\n"
      "10.1.0.0/16\t10.0.0.0/8\n"
      "10.1.0.0/16\t10.1.0.0/16\n",
      printed("tsv", "match", matches_));
   EXPECT_EQ(
      "10.2.0.0/16\t10.0.0.0/8\tprivate \"use\"\n"
      "2001:db8::/32\t-\t\n"
      "10.1.2.3/32\t10.1.0.0/16\t\n"
      "10.1.0.0/16\t10.0.0.0/8\tprivate \"use\"\n"
      "10.1.0.0/16\t10.1.0.0/16\t\n",
      printed("tsv-payload", "match", matches_));
   EXPECT_EQ("10.0.0.0/8\tyes\tprivate \"use\"\n12.0.0.0/8\tno\t\n", printed("tsv-payload", "exact", yesNo_));
   EXPECT_EQ("10.0.0.0/8\tyes\n12.0.0.0/8\tno\n", printed("tsv", "exact", yesNo_));
   EXPECT_EQ("10.0.0.0/8\tyes\n12.0.0.0/8\tno\n", printed("tsv", "longer", yesNo_));
}

TEST_F(AnswerFormatTest, text) {
   EXPECT_EQ(
      "10.2.0.0/16    10.0.0.0/8   private \"use\"\n"
      "2001:db8::/32  -\n"
      "10.1.2.3/32    10.1.0.0/16\n"
      "10.1.0.0/16    10.0.0.0/8   private \"use\"\n"
      "10.1.0.0/16    10.1.0.0/16\n",
      printed("text", "match", matches_));
   EXPECT_EQ("10.0.0.0/8  yes  private \"use\"\n12.0.0.0/8  no\n", printed("text", "exact", yesNo_));
   EXPECT_EQ("10.0.0.0/8  yes\n12.0.0.0/8  no\n", printed("text", "longer", yesNo_));
}

TEST_F(AnswerFormatTest, json) {
   EXPECT_EQ(
      "{\"query\":\"10.2.0.0/16\",\"answer\":\"10.0.0.0/8\",\"payload\":\"private \\\"use\\\"\"}\n"
      "{\"query\":\"2001:db8::/32\",\"answer\":null,\"payload\":null}\n"
      "{\"query\":\"10.1.2.3/32\",\"answer\":\"10.1.0.0/16\",\"payload\":\"\"}\n"
      "{\"query\":\"10.1.0.0/16\",\"answer\":\"10.0.0.0/8\",\"payload\":\"private \\\"use\\\"\"}\n"
      "{\"query\":\"10.1.0.0/16\",\"answer\":\"10.1.0.0/16\",\"payload\":\"\"}\n",
      printed("json", "match", matches_));
   EXPECT_EQ(
      "{\"query\":\"10.0.0.0/8\",\"answer\":true,\"payload\":\"private \\\"use\\\"\"}\n"
      "{\"query\":\"12.0.0.0/8\",\"answer\":false,\"payload\":null}\n",
      printed("json", "exact", yesNo_));
   EXPECT_EQ("{\"query\":\"10.0.0.0/8\",\"answer\":true,\"payload\":null}\n",
             printed("json", "longer", {{"10.0.0.0/8", true, {}}}));
}

TEST_F(AnswerFormatTest, jsonIsUtf8WhateverThePayload) {
   EXPECT_EQ("{\"query\":\"11.0.0.1/32\",\"answer\":\"11.0.0.0/8\",\"payload\":\"caf\xef\xbf\xbd\"}\n",
             printed("json", "match", {{"11.0.0.1/32", false, {"11.0.0.0/8"}}}));
}

TEST_F(AnswerFormatTest, jsonHasNextHopsAsAnArray) {
   routes_.add(prefix("12.0.0.0/8"),
               "proto static nexthop via 192.0.2.1 dev eth0 weight 3 nexthop dev eth1 weight 1 onlink");
   routes_.seal();
   EXPECT_EQ(
      "{\"query\":\"12.0.0.1/32\",\"answer\":\"12.0.0.0/8\",\"payload\":\"proto static nexthop via 192.0.2.1 dev "
      "eth0 "
      "weight 3 nexthop dev eth1 weight 1 onlink\",\"nexthops\":[{\"gateway\":\"192.0.2.1\",\"dev\":\"eth0\","
      "\"weight\":3,\"flags\":[]},{\"dev\":\"eth1\",\"weight\":1,\"flags\":[\"onlink\"]}]}\n",
      printed("json", "match", {{"12.0.0.1/32", false, {"12.0.0.0/8"}}}));
}

TEST_F(AnswerFormatTest, textOfManyBatches) {
   std::vector<Case> cases(10000, matches_[2]);
   cases.push_back(matches_[1]);
   const auto text = printed("text", "match", cases);
   EXPECT_EQ(10001, std::count(text.begin(), text.end(), '\n'));
   EXPECT_THAT(text, testing::StartsWith("10.1.2.3/32  10.1.0.0/16\n"));
   EXPECT_THAT(text, testing::EndsWith("\n2001:db8::/32  -\n"));
}

}  // namespace AnswerFormatTest
}  // namespace Rtrie
