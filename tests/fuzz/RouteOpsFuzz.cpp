// RouteOpsFuzz: decodes bytes to a list of changes and questions and runs it on every engine beside the slow oracle, with
// audits on the way. A fault is printed as a list of ops that can be pasted into a test, and ends the process.
//
// Three bytes are one op:
//
//    byte 0   bits 0-1  what: 0 and 3 add, 1 remove, 2 ask
//             bits 2-7  where the address differs from the stem: at bit 2 * this number, taken modulo the width
//    byte 1   length in bits, taken modulo the width plus one
//    byte 2   eight bits that are turned round there
//
// All addresses share one stem, so that routes nest and part at will. An input counts up to 64 ops: a fault shows in a few,
// and the time of an input grows with the square of their number.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "tests/property/Ops.h"
#include "tests/property/PatriciaDataEngine.h"
#include "tests/property/PatriciaEngine.h"

namespace {

using namespace Property;

constexpr std::size_t bytesPerOp = 3;
constexpr std::size_t mostOps = 64;

Ops decode(const std::uint8_t* data, std::size_t sizeBytes, AddressFamily family) {
   const U32 width = widthOf(family);
   Ops ops;
   for (std::size_t at = 0; at + bytesPerOp <= sizeBytes && ops.size() < mostOps; at += bytesPerOp) {
      constexpr Op::Kind kinds[] = {Op::add, Op::remove, Op::ask, Op::add};
      std::array<U8, 16> bytes{0x2a, 0x0b, 0xc5, 0x96, 0x5a, 0xff, 0x00, 0x81,
                               0x3c, 0xa5, 0x0f, 0xf0, 0x69, 0x18, 0x7e, 0xd2};
      const U32 where = 2U * (data[at] >> 2) % width;
      for (U32 n = 0; n < 8 && where + n < width; ++n) {
         if ((data[at + 2] >> (7 - n) & 1) != 0) {
            bytes[(where + n) / 8] = static_cast<U8>(bytes[(where + n) / 8] ^ 0x80U >> (where + n) % 8);
         }
      }
      ops.push_back({kinds[data[at] & 3], prefixOf(family, bytes, data[at + 1] % (width + 1))});
   }
   return ops;
}

template <Engine E>
void runOn(const std::uint8_t* data, std::size_t sizeBytes) {
   const Ops ops = decode(data, sizeBytes, E::family);
   const Fault fault = run<E>(ops, 4, 16);
   if (!fault.text.empty()) {
      std::fprintf(stderr, "%s: op %zu of %s: %s\n", std::string(E::name).c_str(), fault.at, textOf(ops).c_str(),
                   fault.text.c_str());
      std::abort();
   }
}

template <Engine... Es>
struct RunOnEach {
   static void run(const std::uint8_t* data, std::size_t sizeBytes) { (runOn<Es>(data, sizeBytes), ...); }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes) {
   PatriciaEngines<RunOnEach>::run(data, sizeBytes);
   PatriciaDataEngines<RunOnEach>::run(data, sizeBytes);
   return 0;
}
