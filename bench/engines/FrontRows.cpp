#include "bench/Engines.h"
#include "bench/MeasuredEngine.h"
#include "bench/engines/Fronts.h"

namespace Bench {

EngineRow trie6Row() {
   return {.name = {"trie6", "trie6"}, .isOurs = true, .v4 = nullptr, .v6 = makeMeasured<V6, Trie6Engine>};
}

EngineRow compactRow() {
   return {.name = {"compact", "compact"},
           .isOurs = true,
           .v4 = makeMeasured<V4, FrontEnd<V4, CompactFront>>,
           .v6 = makeMeasured<V6, FrontEnd<V6, CompactFront>>};
}

EngineRow genRow() {
   return {.name = {"gen", "gen"},
           .isOurs = true,
           .v4 = makeMeasured<V4, FrontEnd<V4, GenFront>>,
           .v6 = makeMeasured<V6, FrontEnd<V6, GenFront>>};
}

EngineRow wrapperRow() {
   return {.name = {"wrapper", "wrapper"},
           .isOurs = true,
           .v4 = makeMeasured<V4, FrontEnd<V4, WrapperFront>>,
           .v6 = makeMeasured<V6, FrontEnd<V6, WrapperFront>>};
}

}  // namespace Bench
