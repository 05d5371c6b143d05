// Readers: threads that read what another one replaces, and when they have gone; liburcu behind two words of its own, so that who
// includes a shared table needs none of its headers.
//
// The flavour is `bp`: a thread announces itself to liburcu with its first reading and is forgotten when it ends, so a reader is welcome
// on any thread of any program, beside the program's own use of liburcu, whatever its flavour. Entering and leaving write to the thread's
// own line of memory; the barriers that this saves are made for all threads by whoever asks whether they have gone (membarrier(2)).
// `qsbr` would save these writes, and have each thread say now and then that it reads nothing, which a library cannot ask for; `memb`
// would save one more read, and wants each thread registered, once, by whom it may be.
//
// Whether readers have gone is found out by a thread of this library, one a process, which waits for them (urcu_bp_synchronize_rcu())
// as soon as somebody wants to know and sleeps otherwise; nobody waits for it. liburcu's own, behind call_rcu, sleeps ten
// milliseconds after each round, in which a writer that never rests leaves tens of megabytes, and so writes into memory that no
// cache has. (What asks without waiting came to liburcu after what Debian has.)
// Where each processor has a thread that never rests, ours takes the place of a reader in the middle of a question, and liburcu looks
// for that one again after ten milliseconds: what waits is then some tens of megabytes again.
//
// fork() copies the thread that calls it alone. What the others were reading stays noted in the child, and what our thread and liburcu
// had locked stays locked: shared_fork() is for a child that goes on with the tables, and gets a thread of its own with its first change.
// Tested by tests/table/SharedTableTest.cpp, tests/property/SharedTableThreadsTest.cpp.
#pragma once

#include <sys/types.h>

#include <cstdint>

#include "routetrie/platform/Export.h"
#include "routetrie/platform/Language.h"

namespace routetrie {

// fork(2), for a child that goes on with shared tables: it forgets what other threads were reading. What it may do then is told in
// routetrie/shared_table.h. Waits for those readers that somebody's memory is waiting for at that moment. Returns as fork(2) does, 0 in
// the child; -1 with errno if there is none. Requires: the thread holds no answer and no lock of a reader.
ROUTETRIE_EXPORT pid_t shared_fork();

}  // namespace routetrie

namespace routetrie::Impl {

class ROUTETRIE_EXPORT Readers {
  public:
   // Announces the thread, so that its first reading is as fast as any other.
   static void join() noexcept;
   // What is replaced from now on stays until leave(). May be nested.
   static void enter() noexcept;
   static void leave() noexcept;
};

// Whether all who were reading at some moment have left. For one thread at a time.
class ROUTETRIE_EXPORT Grace {
  public:
   // The moment is now. Requires: none is under way.
   void begin() noexcept;
   bool isUnderWay() const noexcept { return isUnderWay_; }
   // True once for each moment, when they have left.
   bool isOver() noexcept;

  private:
   std::uint32_t moment_ = 0;  // the number that the process gave it
   bool isUnderWay_ = false;
};

}  // namespace routetrie::Impl
