// MrtFuzz: reads the input as an MRT file into a set of routes, seals it and reads it back. A fault ends the process; what is
// told of the input does not, nor that it is no MRT.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "tests/fuzz/InputSource.h"
#include "tests/fuzz/SoundRoutes.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/mrt/MrtTable.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes) {
   using namespace Rtrie;
   InputSource source({data, sizeBytes});
   std::uint64_t faults = 0;
   const auto tell = [&](const std::string& what) { faults += static_cast<std::uint64_t>(!what.empty()); };
   RouteSet routes;
   routes.candidatesAreKept();
   try {
      MrtTable table(routes);
      MrtRecords records(source, tell);
      MrtRoutes parser({}, table, tell);
      while (const auto record = records.next()) {
         const std::size_t read = parser.read(*record);
         if (read > record->body.size()) {
            std::abort();
         }
         records.readUpTo(read);
      }
   } catch (const DataError&) {
   }
   expectSound(routes);
   return 0;
}
