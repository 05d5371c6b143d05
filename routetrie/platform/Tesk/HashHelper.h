// HashHelper: hashes of keys. They are seeded anew in each process, so that nobody can choose keys that collide; nothing
// that a program shows depends on them.
// Tested by tests/platform/Tesk/HashMap2018Test.cpp.
#pragma once

#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace Tesk {

struct HashHelper {
   // The process's seed: the same at every call.
   ROUTETRIE_EXPORT static U32 hashSeed32() noexcept;
};

template <class T>
concept SeededHash = requires(const T& value, U32 seed) {
   value.hash(seed) + U32{};
};

// The hash of a key of one attribute.
ROUTETRIE_EXPORT U32 hashSingleAttr(U32 seed, U32 attr) noexcept;
template <SeededHash T>
U32 hashSingleAttr(U32 seed, const T& attr) noexcept {
   return attr.hash(seed);
}

}  // namespace Tesk
