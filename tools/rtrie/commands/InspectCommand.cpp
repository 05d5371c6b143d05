#include "tools/rtrie/commands/InspectCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/platform/Corvid/RangeException.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/InspectPath.h"
#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/Rows.h"
#include "tools/rtrie/SurfaceFormat.h"
#include "tools/rtrie/TableSet.h"
#include "tools/tables/Messages.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {
namespace {

namespace Inspect = Corvid::Inspect;

// How what is shown is printed, by name: types, and one value that was read.
struct InspectFormat {
   std::string_view name;
   std::string_view summary;
   void (*types)(std::span<const Inspect::Type> types, Output& output);
   void (*begin)(Output& output);  // what stands before the values
   void (*value)(Corenet::AddressFamily af, std::string_view path, const InspectPath::Read& value, Output& output);
};

void printValueText(Corenet::AddressFamily af, std::string_view path, const InspectPath::Read& value,
                    Output& output) {
   output.format("{}  {} = {}\n", familyName(af), path, value.text);
}

// Numbers, truth values, null objects and no result as JSON has them; of all other types the text.
Json jsonOf(const InspectPath::Read& value) {
   const auto type = value.typeName;
   const auto described = Inspect::findType(type);
   const bool isObject = described && described->isClass();
   if (type == "void" || (isObject && !value.object)) {
      return nullptr;
   }
   const bool isPlain = type == "bool" || type == "U8" || type == "U16" || type == "U32" || type == "S32";
   return isPlain ? Json::parse(value.text) : Json(value.text);
}

// {"family": "ipv4", "path": .., "value": ..}
void printValueJson(Corenet::AddressFamily af, std::string_view path, const InspectPath::Read& value,
                    Output& output) {
   jsonLine(output, {{"family", Corenet::stringValue(af).view()}, {"path", path}, {"value", jsonOf(value)}});
}

template <RowForm form>
void printValueNames(Output& output) {
   rowNames(output, form, {"family", "path", "value"});
}

template <RowForm form>
void printValueRow(Corenet::AddressFamily af, std::string_view path, const InspectPath::Read& value, Output& output) {
   row(output, form, {Corenet::stringValue(af).view(), path, value.text});
}

template <RowForm form>
void printSurfaceRows(std::span<const Inspect::Type> types, Output& output) {
   printSurface(types, form, output);
}

constexpr InspectFormat formats[] = {
   {"text", "for people", printSurfaceText, [](Output&) {}, printValueText},
   {"tsv", "module, class, id, name, kind, type, access with tabs between; of what is read, family, path, value",
    printSurfaceRows<RowForm::tsv>, printValueNames<RowForm::tsv>, printValueRow<RowForm::tsv>},
   {"csv", "the same with commas, and the names of the columns first", printSurfaceRows<RowForm::csv>,
    printValueNames<RowForm::csv>, printValueRow<RowForm::csv>},
   {"json", "one value for the classes, one object a line for what is read", printSurfaceJson, [](Output&) {},
    printValueJson},
};

struct InspectOptions {
   TableOptions table;
   std::string format = std::string(formats[0].name);
   std::vector<std::string> names;
};

ExitStatus showTypes(const InspectOptions& options, const InspectFormat& format) {
   std::vector<Inspect::Type> types;
   if (options.names.empty()) {
      for (const Inspect::Module& module : Inspect::modules()) {
         for (const Inspect::Type& type : module.types()) {
            types.push_back(type);
         }
      }
   }
   for (const std::string& name : options.names) {
      const auto type = Inspect::findType(name);
      if (!type) {
         throw UsageError(fmt::format("unknown class \"{}\": rtrie inspect lists them all", name));
      }
      types.push_back(*type);
   }
   Output output(STDOUT_FILENO);
   format.types(types, output);
   output.flush();
   return ExitStatus::ok;
}

// The table's own count goes before the engines', of which some leave the default route out.
bool isCount(const InspectPath& path) {
   const auto& first = path.steps().front();
   return path.steps().size() == 1 && first.field == "routes" && first.arguments.empty();
}

InspectPath::Read readOf(const RouteTable& table, const InspectPath& path) {
   if (isCount(path)) {
      return {{fmt::format("{}", table.routes()), nullptr}, "U32"};
   }
   return path.read(table.objectWith(path.steps().front().field));
}

ExitStatus readAttributes(const InspectOptions& options, const InspectFormat& format, const Session& session) {
   session.checkStandardInput(options.table);
   const std::vector<InspectPath> paths(options.names.begin(), options.names.end());
   if (paths.empty()) {
      throw UsageError("what is to be read of the table? give a path, such as routes");
   }
   const bool readsFields = !std::all_of(paths.begin(), paths.end(), isCount);
   const Engine& engine =
      engineNamed(options.table.engine, readsFields ? Questions::object : Questions::none, "fields to read by name");
   const auto asked = session.tables(options.table);
   const TableSet tables(engine, asked->routes());  // its own: what is called by name may change it
   Output output(STDOUT_FILENO);
   format.begin(output);
   std::uint64_t faults = asked.faults;
   std::uint64_t values = 0;
   for (const InspectPath& path : paths) {
      bool isAsked = false;
      for (const auto af : families) {
         const auto& table = tables.of(af).table;
         if (!table || !path.suits(af)) {
            continue;
         }
         isAsked = true;
         try {
            format.value(af, path.text(), readOf(*table, path), output);
            output.lineDone();
            ++values;
         } catch (const Corvid::RangeException& fault) {
            ++faults;
            say(fault.what());
         }
      }
      if (!isAsked) {
         ++faults;
         say(fmt::format("no table of engine \"{}\" is of the family of \"{}\"", engine.name, path.text()));
      }
   }
   output.flush();
   return exitStatusOf(faults, values != 0);
}

// Names of classes ask for them; in a shell other names are of what its tables have.
bool asksForTypes(const InspectOptions& options, const Session& session) {
   return options.table.tables.empty() &&
          (session.used() == nullptr || std::all_of(options.names.begin(), options.names.end(), [](const auto& name) {
              return Inspect::findType(name).has_value();
           }));
}

ExitStatus run(const InspectOptions& options, const Session& session) {
   const InspectFormat& format = rowNamed(std::span<const InspectFormat>(formats), "format", options.format);
   return asksForTypes(options, session) ? showTypes(options, format) : readAttributes(options, format, session);
}

}  // namespace

Run addInspect(CLI::App& app) {
   auto options = std::make_shared<InspectOptions>();
   options->table.addTo(app, false);
   addFormatOption(app, options->format, "How it is printed");
   app.add_option(
         "NAME", options->names,
         "Without --table, a class; without any, all are shown. With it, what is to be read: an attribute, "
         "name(key) or name(argument, ...), joined by dots where one leads to the next. routes is the table's "
         "count; Class::routes is what an engine of that class counts")
      ->type_name("");
   app.footer(helpSection("Engines", summariesOf(engines())) + "\n" +
              helpSection("Formats", summariesOf(std::span<const InspectFormat>(formats))) + "\n" +
              helpSection("Examples",
                          "  rtrie inspect TrieGen\n"
                          "  rtrie inspect --table routes.txt routes TrieGen::routes \"longestMatch(10.1.2.3/32)\""));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
