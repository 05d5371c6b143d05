// TableFuzz: decodes bytes to changes and questions, and makes them of a table of each family beside the oracle, with an audit
// after each. A fault ends the process.
//
// Four bytes are one op:
//
//    byte 0   bits 0-3  what: 0-4 insert, 5 insert_or_assign, 6 update, 7-9 erase, 10 erase at an iterator, 11 erase_covered,
//                       12 erase_if, 13 clear (if byte 3 is 0) or a copy, 14-15 ask
//             bits 4-7  where the address differs from the stem: at bit 8 * this number, taken modulo the width
//    byte 1   length in bits, taken modulo the width plus one
//    byte 2   eight bits that are turned round there
//    byte 3   the value
//
// All addresses share one stem, so that routes nest and part at will. An input counts up to 128 ops.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/property/TableOracle.h"

namespace {

using namespace Property;

constexpr std::size_t bytesPerOp = 4;
constexpr std::size_t mostOps = 128;

template <class P>
P prefixAt(const std::uint8_t* data) {
   using Word = typename P::Bits::Word;
   auto word = static_cast<Word>(0x2a0bc596);
   if constexpr (P::width == 128) {
      word = Word{0x2a0bc5965aff0081} << 64 | Word{0x3ca50ff069187ed2};
   }
   const unsigned where = 8u * (data[0] >> 4) % P::width;
   word ^= static_cast<Word>(Word{data[2]} << (P::width - 8 - where));
   return P::cut(typename P::Bits(word), data[1] % (P::width + 1u));
}

template <class Table>
void run(const char* name, const std::uint8_t* data, std::size_t sizeBytes) {
   using P = typename Table::prefix_type;
   TableSession<Table> session;
   const std::size_t ops = std::min(sizeBytes / bytesPerOp, mostOps);
   for (std::size_t i = 0; i < ops; ++i, data += bytesPerOp) {
      const P p = prefixAt<P>(data);
      switch (data[0] & 15) {
         case 5: session.assign(p, data[3]); break;
         case 6: session.update(p, data[3]); break;
         case 7:
         case 8:
         case 9: session.remove(p); break;
         case 10: session.removeAt(p); break;
         case 11: session.removeCovered(p); break;
         case 12: session.removeEvery(2u + data[2] % 8, data[3] % 2); break;
         case 13:
            if (data[3] == 0) {
               session.clear();
            } else {
               Table copy(session.table);
               session.table = std::move(copy);
            }
            break;
         case 14:
         case 15: break;
         default: session.add(p, data[3]); break;
      }
      std::string fault = session.wholeFault();
      if (fault.empty()) {
         fault = session.faultAt(p);
      }
      if (!fault.empty()) {
         std::fprintf(stderr, "%s: op %zu: %s\n%s\n", name, i, fault.c_str(), session.table.dump().c_str());
         std::abort();
      }
   }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes) {
   run<routetrie::table4<std::uint32_t>>("table4", data, sizeBytes);
   run<routetrie::table6<std::uint32_t>>("table6", data, sizeBytes);
   run<routetrie::table6<std::string>>("table6 of strings", data, sizeBytes);
   return 0;
}
