// LossAllowed: what is allocated while one lives is no leak to report. A split that fails in its second node or in a payload's
// hook does not free its first node, by design: nothing is linked by then, and the trie is whole.
#pragma once

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace TestSupport {

struct LossAllowed {
#ifdef __SANITIZE_ADDRESS__
   __lsan::ScopedDisabler disabler;
#else
   ~LossAllowed() {}  // so that a variable of this type has a use
#endif
};

}  // namespace TestSupport
