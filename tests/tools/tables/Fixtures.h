// Fixtures: what the tools themselves have printed, as tests/tools/tables/fixtures/ keeps it, and how a table of it is read.
#pragma once

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <vector>

#include "Support.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie::Support {

inline std::string fixture(std::string_view name) {
   return fmt::format("{}/tests/tools/tables/fixtures/{}", ROUTETRIE_SOURCE_DIR, name);
}

struct Loaded {
   std::vector<std::string> routes;      // "10.0.0.0/8 payload"
   std::vector<std::string> candidates;  // those that lost; "... (bound)" if they hold for some packets alone
   std::string told;                     // on standard error
   LoadReport report;
};

// The table of those files, with how they are told and what is told of them.
inline Loaded loaded(const std::vector<std::string>& files, LoadOptions options = {}) {
   RouteSet set;
   set.candidatesAreKept();
   options.tables = files;
   Loaded result;
   testing::internal::CaptureStderr();
   try {
      result.report = loadTables(options, set);
   } catch (const DataError& fault) {
      result.routes.emplace_back(fault.what());
   }
   result.told = testing::internal::GetCapturedStderr();
   for (const auto af : {Corenet::AddressFamily::ipv4, Corenet::AddressFamily::ipv6}) {
      set.forEachWithPayload(af, [&](const Corenet::IpGenPrefix& route, const Payload& payload) {
         const std::string text(route.stringValue());
         result.routes.push_back(payload.text.empty() ? text : fmt::format("{} {}", text, payload.text));
         for (const Candidate& each : set.candidates(route)) {
            if (!each.chosen) {
               result.candidates.push_back(
                  fmt::format("{} {}{}", text, each.payload, each.answers ? "" : " (bound)"));
            }
         }
      });
   }
   return result;
}

inline Loaded loadedText(std::string_view text, LoadOptions options = {}) {
   const Folder folder;
   return loaded({folder.file("t", text)}, std::move(options));
}

}  // namespace Rtrie::Support
