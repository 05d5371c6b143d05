#include "tools/rtrie/manual/ManPage.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace Rtrie {
namespace {

// Any text within a line, printed as it is: what roff would read as its own is escaped, and a hyphen stays one that can be copied.
std::string roff(std::string_view text) {
   std::string escaped;
   for (const char c : text) {
      switch (c) {
         case '\\': escaped += "\\e"; break;
         case '-': escaped += "\\-"; break;
         case '\'': escaped += "\\(aq"; break;
         case '`': escaped += "\\(ga"; break;
         case '^': escaped += "\\(ha"; break;
         case '~': escaped += "\\(ti"; break;
         default: escaped += c;
      }
   }
   return escaped;
}

// The same as a line of its own, which does not begin a request.
std::string roffLine(std::string_view text) { return (text.starts_with('.') ? "\\&" : "") + roff(text) + "\n"; }

std::string bold(std::string_view text) { return "\\fB" + roff(text) + "\\fR"; }
std::string italic(std::string_view text) { return "\\fI" + roff(text) + "\\fR"; }

std::string upper(std::string_view text) {
   std::string all(text);
   std::transform(all.begin(), all.end(), all.begin(),
                  [](char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); });
   return all;
}

// As the name of a section: roff takes the whole line, and a quoted one stays one word.
std::string heading(std::string_view title) { return fmt::format(".SH \"{}\"\n", roff(upper(title))); }

std::string sentence(std::string_view text) {
   return text.empty() ? "" : roffLine(std::string(text) + (text.ends_with('.') ? "" : "."));
}

// "-h, --help ARGUMENT".
std::string namesOf(const ManualOption& option) {
   std::string names;
   for (const std::string& name : option.names) {
      names += (names.empty() ? "" : ", ") + bold(name);
   }
   return names + (option.argument.empty() ? "" : " " + italic(option.argument));
}

std::string synopsis(const Manual& manual) {
   std::string line = ".nh\n" + bold(manual.name);
   for (const ManualOption& option : manual.options) {
      if (option.isRequired) {
         line += fmt::format(" {} {}{}", bold(option.names.back()), italic(option.argument),
                             option.isRepeated ? " ..." : "");
      }
   }
   line += fmt::format(" [{}]", italic("OPTION ..."));
   for (const ManualOption& operand : manual.operands) {
      const std::string name = italic(operand.names.front()) + (operand.isRepeated ? " ..." : "");
      line += operand.isRequired ? " " + name : fmt::format(" [{}]", name);
   }
   return line + "\n.hy\n";
}

std::string described(const ManualOption& option, const std::string& names) {
   std::string text = ".TP\n" + names + "\n" + sentence(option.text);
   if (!option.defaultValue.empty()) {
      text += "Unless given, " + bold(option.defaultValue) + ".\n";
   }
   return text;
}

// Examples stand as they are typed. Of other sections "name  what it is" becomes a paragraph with a mark, and what goes on is
// joined to it.
std::string body(const ManualSection& section) {
   std::string text;
   if (section.title.starts_with("Example")) {
      text = ".nf\n";
      for (const std::string& line : section.lines) {
         text += roffLine(std::string_view(line).substr(std::min(line.find_first_not_of(' '), line.size())));
      }
      return text + ".fi\n";
   }
   for (const std::string& line : section.lines) {
      const ManualTerm term = termOf(line);
      if (!term.name.empty()) {
         text += ".TP\n" + bold(term.name) + "\n" + roffLine(term.text);
      } else {
         text += (line.starts_with(' ') || &line == &section.lines.front() ? "" : ".PP\n") + roffLine(term.text);
      }
   }
   return text;
}

bool isLate(const ManualSection& section) {
   return section.title.starts_with("Example") || section.title == "Exit status";
}

}  // namespace

std::string pageName(const Manual& manual) {
   std::string name = manual.name;
   std::replace(name.begin(), name.end(), ' ', '-');
   return name;
}

std::string manPage(const Manual& manual, const ManPageOf& page) {
   std::string text = fmt::format(".TH {} 1 {} \"rtrie {}\" \"User Commands\"\n", roff(upper(pageName(manual))),
                                  page.date, page.version);
   std::string summary = manual.summary;
   summary.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(summary.front())));
   text += heading("Name") + roff(pageName(manual)) + " \\- " + roff(summary) + "\n";
   text += heading("Synopsis") + synopsis(manual);
   text += heading("Description") + sentence(manual.summary);
   for (const ManualSection& section : manual.sections) {
      if (section.title.empty()) {
         text += ".PP\n" + body(section);
      }
   }
   if (!manual.operands.empty()) {
      text += heading("Operands");
      for (const ManualOption& operand : manual.operands) {
         text += described(operand, italic(operand.names.front()) + (operand.isRepeated ? " ..." : ""));
      }
   }
   text += heading("Options");
   for (const ManualOption& option : manual.options) {
      text += described(option, namesOf(option));
   }
   for (const bool late : {false, true}) {
      for (const ManualSection& section : manual.sections) {
         if (!section.title.empty() && isLate(section) == late) {
            text += heading(section.title) + body(section);
         }
      }
   }
   text += heading("Environment") + ".TP\n" + bold("NO_COLOR") +
           "\nWhere it is set to anything, a terminal is shown no colours.\n";
   std::string others;
   for (const std::string& other : page.others) {
      if (other != pageName(manual)) {
         others += fmt::format("{}.BR {} (1)", others.empty() ? "" : " ,\n", roff(other));
      }
   }
   return text + heading("See also") + others + "\n";
}

}  // namespace Rtrie
