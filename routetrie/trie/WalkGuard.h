// WalkGuard: tells a callback that changes the trie it is called for, which no trie can bear and none looks for. A walk, or a
// search with a callback, has ROUTETRIE_WALKING(trie) in its scope, and a change begins with ROUTETRIE_CHANGING(trie), which
// asserts "a callback must not change the trie that it is called for". Both are for builds with ROUTETRIE_FAULT_INJECTION, and
// nothing in any other: for the library's sources alone, since no header may differ from build to build.
//
// The walks under way are a list on the stacks of their thread, so a walk allocates nothing for it. Another thread's walk is
// not in it: what is wrong there a thread sanitizer tells.
// Tested by tests/trie/WalkGuardTest.cpp.
#pragma once

#include "routetrie/platform/Language.h"

#ifdef ROUTETRIE_FAULT_INJECTION

#include "routetrie/platform/Corvid/Assert.h"

namespace Routing::Impl {

class WalkGuard {
  public:
   explicit WalkGuard(const void* trie) noexcept : trie_(trie), below_(top) { top = this; }
   WalkGuard(const WalkGuard&) = delete;
   WalkGuard& operator=(const WalkGuard&) = delete;
   ~WalkGuard() { top = below_; }

   static bool isWalked(const void* trie) noexcept {
      for (const WalkGuard* walk = top; walk != nullptr; walk = walk->below_) {
         if (walk->trie_ == trie) {
            return true;
         }
      }
      return false;
   }

  private:
   static inline thread_local const WalkGuard* top = nullptr;

   const void* const trie_;
   const WalkGuard* const below_;
};

}  // namespace Routing::Impl

#define ROUTETRIE_WALKING(trie) const ::Routing::Impl::WalkGuard walkGuard(trie)
#define ROUTETRIE_CHANGING(trie)                                 \
   ROUTETRIE_ASSERT(!::Routing::Impl::WalkGuard::isWalked(trie), \
                    "a callback must not change the trie that it is called for")

#else

#define ROUTETRIE_WALKING(trie) static_cast<void>(0)
#define ROUTETRIE_CHANGING(trie) static_cast<void>(0)

#endif
