// Completion: what may stand where the cursor is.
#include "tools/rtrie/shell/Completion.h"

#include <unistd.h>

#include "Support.h"
#include "tools/rtrie/Engine.h"

namespace Rtrie {
namespace CompletionTests {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class CompletionTest : public testing::Test {
  protected:
   CompletionTest() {
      LoadOptions options;
      options.tables = {folder_.file("table.txt", "10.1.0.0/16\n10.1.2.0/24\n10.7.0.0/16\n2001:db8::/32\n")};
      session_.load("lab", options);
      folder_.file("other file.txt", "");
      folder_.file(".hidden", "");
      std::filesystem::create_directory(folder_.path("folder"));
   }

   std::vector<std::string> wordsOf(std::string_view line) const {
      std::vector<std::string> texts;
      for (const auto& word : completionOf(line, session_).words) {
         texts.push_back(word.text);
      }
      return texts;
   }
   // The line as Tab makes it.
   std::string completed(std::string_view line) const {
      const auto completion = completionOf(line, session_);
      const auto common = completion.common();
      return common.empty() ? std::string(line) : std::string(line.substr(0, completion.begin)) + common;
   }

   const Support::Folder folder_;
   Session session_{Session::Kind::shell};
};

TEST_F(CompletionTest, commands) {
   EXPECT_THAT(wordsOf(""), AllOf(Contains("load"), Contains("lookup"), Contains("match"), Contains("quit")));
   EXPECT_THAT(wordsOf(""), Not(Contains("watch"))) << "it reads standard input";
   EXPECT_THAT(wordsOf(""), Not(Contains("shell")));
   EXPECT_EQ("explain ", completed("exp"));
   EXPECT_EQ("lo", completed("lo"));  // load, longer, lookup
   EXPECT_THAT(wordsOf("lo"), ElementsAre("load", "lookup", "longer"));
   EXPECT_EQ("match ", completed("match"));
   EXPECT_THAT(wordsOf("nothing "), IsEmpty());
   EXPECT_THAT(wordsOf("help un"), ElementsAre("unload"));
}

TEST_F(CompletionTest, options) {
   EXPECT_EQ("lookup --engine ", completed("lookup --eng"));
   EXPECT_THAT(wordsOf("free --"), AllOf(Contains("--within"), Contains("--count"), Contains("--help")));
   EXPECT_THAT(wordsOf("match -h"), ElementsAre("-h"));
   EXPECT_THAT(wordsOf("load --a"), ElementsAre("--as"));
}

TEST_F(CompletionTest, whatOptionsTake) {
   EXPECT_EQ("lookup --op covering ", completed("lookup --op cov"));
   EXPECT_THAT(wordsOf("stats --engine patr"), ElementsAre("patricia", "patricia-compact", "patricia-data"));
   EXPECT_THAT(wordsOf("verify --engine mu"), ElementsAre("multibit"));
   EXPECT_EQ(engines().size(), wordsOf("walk --engine ").size());
   EXPECT_THAT(wordsOf("walk --format t"), ElementsAre("text", "tsv", "tsv-payload"));
   EXPECT_EQ("walk --format=json ", completed("walk --format=js"));
   EXPECT_THAT(wordsOf("load --host-bits "), ElementsAre("refuse", "mask"));
   EXPECT_THAT(wordsOf("load --peer "), ElementsAre("all"));
   EXPECT_THAT(wordsOf("free --within 10.1."), ElementsAre("10.1.0.0/16", "10.1.2.0/24"));
   EXPECT_THAT(wordsOf("walk --table ker"), Contains("kernel:"));
   EXPECT_THAT(wordsOf("free --length "), IsEmpty());
}

TEST_F(CompletionTest, prefixesOfTheTable) {
   EXPECT_THAT(wordsOf("match 1"), ElementsAre("10."));
   EXPECT_EQ("match 10.", completed("match 1"));
   EXPECT_THAT(wordsOf("explain 10."), ElementsAre("10.1.", "10.7.0.0/16"));
   EXPECT_EQ("walk 10.1.2.0/24 ", completed("walk 10.1.2"));
   EXPECT_EQ("lookup 10.7.0.0/16 2001:db8::/32 ", completed("lookup 10.7.0.0/16 2"));
   session_.unload("lab");
   EXPECT_THAT(wordsOf("match 1"), IsEmpty());
}

TEST_F(CompletionTest, filesAndTables) {
   const auto in = folder_.path("");
   EXPECT_THAT(wordsOf("load " + in), ElementsAre(in + "folder/", in + "other file.txt", in + "table.txt"));
   EXPECT_EQ("load " + in + "table.txt ", completed("load " + in + "t"));
   EXPECT_EQ("load " + in + "folder/", completed("load " + in + "f")) << "more is to come";
   EXPECT_EQ("load " + in + "other\\ file.txt ", completed("load " + in + "o"));
   EXPECT_EQ("load " + in + "other\\ file.txt ", completed("load '" + in + "other f"));
   EXPECT_EQ("load " + in + ".hidden ", completed("load " + in + "."));
   EXPECT_EQ("use lab ", completed("use l"));
   EXPECT_EQ("walk --table lab ", completed("walk --table l"));
   EXPECT_EQ("diff lab ", completed("diff l"));
   EXPECT_EQ("walk > " + in + "table.txt ", completed("walk > " + in + "t"));
   EXPECT_THAT(wordsOf("walk | les"), IsEmpty());
   EXPECT_THAT(wordsOf("load " + in + "none/"), IsEmpty());
}

TEST_F(CompletionTest, commentsAndQuotesEndIt) {
   EXPECT_THAT(wordsOf("# mat"), IsEmpty());
   EXPECT_EQ("'match' 10.7.0.0/16 ", completed("'match' '10.7"));
}

}  // namespace CompletionTests
}  // namespace Rtrie
