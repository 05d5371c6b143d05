// ReportCommand: the program, writing pages. How they look, tests/tools/report-in-browser.sh tells.
#include "tools/rtrie/commands/ReportCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "Support.h"
#include "tools/rtrie/map/MapPicture.h"

namespace Rtrie {
namespace ReportCommandTest {

using Support::contentOf;
using Support::Ran;
using Support::rtrie;
using testing::HasSubstr;
using testing::Not;

// What is wrong with the page's markup, and how often each element and attribute is there.
struct Markup {
   explicit Markup(const std::string& html) {
      std::vector<std::string> open;
      const std::set<std::string> alone = {"meta", "link", "image", "path", "wbr", "!doctype"};
      for (std::size_t at = html.find('<'); at != std::string::npos; at = html.find('<', at + 1)) {
         const std::size_t end = html.find('>', at);
         std::string name;
         for (std::size_t i = at + 1; i < end && html[i] != ' ' && html[i] != '/'; ++i) {
            name += static_cast<char>(std::tolower(html[i]));
         }
         if (html[at + 1] == '/') {
            name = html.substr(at + 2, end - at - 2);
            if (open.empty() || open.back() != name) {
               faults.push_back("</" + name + "> closes " + (open.empty() ? "nothing" : open.back()));
               return;
            }
            open.pop_back();
            continue;
         }
         ++elements[name];
         const std::string tag = html.substr(at, end - at);
         if (const auto id = tag.find(" id=\""); id != std::string::npos) {
            const auto value = tag.substr(id + 5, tag.find('"', id + 5) - id - 5);
            if (!ids.insert(value).second) {
               faults.push_back("a second " + value);
            }
         }
         if (name.size() == 2 && name[0] == 'h' && std::isdigit(name[1]) != 0) {
            if (name[1] > lastHeading + 1) {
               faults.push_back(name + " behind h" + lastHeading);
            }
            lastHeading = name[1];
         }
         if (!alone.contains(name)) {
            open.push_back(name);
         }
         if (name == "style") {
            at = html.find("</style>", at) - 1;
         }
      }
      if (!open.empty()) {
         faults.push_back("never closed: " + open.back());
      }
   }

   std::vector<std::string> faults;
   std::map<std::string, int> elements;
   std::set<std::string> ids;
   char lastHeading = '0';
};

class ReportOf : public testing::Test {
  protected:
   Ran report(std::vector<std::string> arguments, std::string_view input = "") const {
      arguments.insert(arguments.begin(), "report");
      arguments.insert(arguments.end(), {"--out", out_});
      return rtrie(arguments, input);
   }
   std::string page(std::vector<std::string> arguments, std::string_view input = "") const {
      arguments.insert(arguments.end(), {"--size", "64"});
      const Ran ran = report(std::move(arguments), input);
      EXPECT_EQ("", ran.err);
      EXPECT_EQ("", ran.out);
      EXPECT_EQ(0, ran.status);
      return contentOf(out_);
   }

   Support::Folder folder_;
   std::string out_ = folder_.path("page.html");
   std::string table_ = folder_.file("now.txt",
                                     "0.0.0.0/0 up\n10.0.0.0/8 <script>alert(1)</script>\n10.1.0.0/16 lan\n"
                                     "10.2.0.0/16 lan\n2001:db8::/32 \" onload=\"x\n");
   std::string before_ = folder_.file("before.txt", "0.0.0.0/0 up\n10.0.0.0/8 ten\n10.3.0.0/16 lan\n");
};

TEST_F(ReportOf, isWellFormedAndWhole) {
   for (const auto& arguments : {std::vector<std::string>{"--table", table_},
                                 std::vector<std::string>{"--table", table_, "--against", before_},
                                 std::vector<std::string>{"--table", before_, "--against", table_}}) {
      const std::string html = page(arguments);
      Markup markup(html);
      EXPECT_THAT(markup.faults, testing::ElementsAre());
      for (const char* once : {"html", "head", "title", "style", "body", "header", "nav", "main", "footer", "h1"}) {
         EXPECT_EQ(once == std::string("title") && canDraw() ? markup.elements["svg"] + 1 : 1, markup.elements[once])
            << once;
      }
      EXPECT_EQ(markup.elements["table"], markup.elements["caption"]);
      for (const char* never : {"script", "iframe", "object", "img", "form", "input"}) {
         EXPECT_EQ(0, markup.elements[never]) << never;
      }
      // Nothing comes from elsewhere: what is loaded is in the page, what is linked to as well.
      for (const char* attribute : {"src=", "href=", "url("}) {
         for (auto at = html.find(attribute); at != std::string::npos; at = html.find(attribute, at + 1)) {
            const auto target = html.substr(at + std::string_view(attribute).size(), 6);
            EXPECT_TRUE(target.starts_with("\"#") || target == "\"data:") << target;
         }
      }
      EXPECT_THAT(html, HasSubstr("Content-Security-Policy\" content=\"default-src 'none'"));
      EXPECT_EQ(canDraw() ? 2 * markup.elements["svg"] : 0, markup.elements["image"]);
   }
}

TEST_F(ReportOf, tellsFigures) {
   const std::string html = page({"--table", table_});
   EXPECT_THAT(html, HasSubstr("<dt>Routes</dt><dd>5</dd>"));
   EXPECT_THAT(html, HasSubstr("<dt>IPv4 routes</dt><dd>4 <small>0.39 % of the addresses answered</small>"));
   EXPECT_THAT(html, HasSubstr("<small>16,777,216 addresses, the default route aside</small>"));
   EXPECT_THAT(html, HasSubstr("<small>4.29e+09 networks of /64</small>"));
   EXPECT_THAT(
      html, HasSubstr("<tr><th scope=\"row\">/16</th><td class=\"number\">2</td><td class=\"number\">50.0 %</td>"));
   EXPECT_THAT(html, HasSubstr("<tr><th scope=\"row\">3</th><td class=\"number\">2</td>"));
   EXPECT_THAT(html, HasSubstr("<th scope=\"row\" class=\"text\">lan</th><td class=\"number\">2</td>"));
   EXPECT_THAT(html, HasSubstr("<th scope=\"row\" class=\"prefix\">10.0.0.0/8</th><td class=\"number\">2</td>"));
   EXPECT_THAT(html, Not(HasSubstr("What changed")));
}

TEST_F(ReportOf, tellsWhatChanged) {
   const std::string html = page({"--table", table_, "--against", before_});
   EXPECT_THAT(html, HasSubstr("<dt>Routes added</dt><dd>3</dd>"));
   EXPECT_THAT(html, HasSubstr("<dt>Routes gone</dt><dd>1</dd>"));
   EXPECT_THAT(html, HasSubstr("<dt>Other payload</dt><dd>1</dd>"));
   EXPECT_THAT(html, HasSubstr("<dt>As before</dt><dd>1</dd>"));
   EXPECT_THAT(html, HasSubstr("All 5 changes"));
   EXPECT_THAT(html, HasSubstr("other payload</span></th><td class=\"text\">ten</td>"
                               "<td class=\"text\">&lt;script&gt;alert(1)&lt;/script&gt;</td>"));
   const std::string same = page({"--table", table_, "--against", table_});
   EXPECT_THAT(same, HasSubstr("The tables have the same routes."));
   const std::string bare =
      page({"--table", folder_.file("a", "10.0.0.0/8\n"), "--against", folder_.file("b", "2001:db8::/32\n")});
   EXPECT_THAT(bare, HasSubstr("<th scope=\"col\">Change</th>"));
   EXPECT_THAT(bare, HasSubstr("There are no IPv6 routes any more."));
   std::string many;
   for (int i = 0; i < 200; ++i) {
      many += fmt::format("10.0.{}.0/24\n", i);
   }
   EXPECT_THAT(page({"--table", "-", "--against", folder_.path("a")}, many),
               HasSubstr("The first 100 of 201 changes; <code>rtrie diff</code> prints all"));
}

TEST_F(ReportOf, hostileTextIsNoMarkup) {
   const std::string html = page({"--table", table_, "--title", "<b>\"Ours\" & theirs</b>\x1b"});
   EXPECT_THAT(html, Not(HasSubstr("<script")));
   EXPECT_THAT(html, Not(HasSubstr("<b>")));
   EXPECT_THAT(html, HasSubstr("<h1>&lt;b&gt;&quot;Ours&quot; &amp; theirs&lt;/b&gt;\\x1b</h1>"));
   EXPECT_THAT(html, HasSubstr("&lt;script&gt;alert(1)&lt;/script&gt;"));
   EXPECT_THAT(html, HasSubstr("&quot; onload=&quot;x"));
}

TEST_F(ReportOf, theSameTablesGiveTheSamePage) {
   setenv("SOURCE_DATE_EPOCH", "1000000000", 1);
   const std::string html = page({"--table", table_});
   EXPECT_THAT(html, HasSubstr("<time datetime=\"2001-09-09T01:46:40Z\">2001-09-09</time>"));
   EXPECT_EQ(html, page({"--table", table_}));
   unsetenv("SOURCE_DATE_EPOCH");
}

TEST_F(ReportOf, badLinesAreCountedInIt) {
   const Ran ran = report({"--table", "-"}, "10.0.0.0/8\nnonsense\n");
   EXPECT_THAT(ran.err, HasSubstr("nonsense"));
   EXPECT_EQ(1, ran.status);
   EXPECT_THAT(contentOf(out_), HasSubstr("<tr><th scope=\"row\">Bad ones, left out</th><td class=\"text\">1</td>"));
}

TEST_F(ReportOf, badCommandLines) {
   const auto fault = [&](std::vector<std::string> arguments, std::string_view text, int status = 2) {
      arguments.insert(arguments.begin(), "report");
      const Ran ran = rtrie(arguments);
      EXPECT_EQ(fmt::format("rtrie: {}\n", text), ran.err);
      EXPECT_EQ(status, ran.status);
      EXPECT_FALSE(std::filesystem::exists(out_));
   };
   fault({"--table", table_}, "--out is required");
   fault({"--out", out_}, "--table is required");
   fault({"--table", table_, "--out", "page.pdf"}, "--out is a file whose name ends in .html: \"page.pdf\"");
   fault({"--table", table_, "--out", out_, "--size", "4096"},
         "--size is a power of two from 64 to 2048, in pixels: 4096");
   fault({"--table", "-", "--against", "-", "--out", out_}, "standard input can be a table only once");
   const auto nowhere = folder_.path("no/page.html");
   fault({"--table", table_, "--size", "64", "--out", nowhere},
         fmt::format("{}: cannot write: No such file or directory", nowhere), 3);
}

}  // namespace ReportCommandTest
}  // namespace Rtrie
