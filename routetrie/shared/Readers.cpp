#include "routetrie/shared/Readers.h"

// What a thread sanitizer does not see into it must not see half of either. And another one, in these functions, finds that liburcu's
// record of a thread does not lie as its type says.
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
#define _LGPL_SOURCE  // its inline functions; this library is one that may be linked anew
#endif
#include <urcu/urcu-bp.h>

#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <exception>
#include <thread>

#include "routetrie/platform/Corvid/Assert.h"

#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#endif

namespace routetrie::Impl {

// To the sanitizer, leaving is a release and having seen that all have left an acquisition, of one thing.
#ifdef __SANITIZE_THREAD__
namespace {
char readersLeft;
}
#endif

void Readers::join() noexcept { urcu_bp_register_thread(); }
void Readers::enter() noexcept { urcu_bp_read_lock(); }
void Readers::leave() noexcept {
#ifdef __SANITIZE_THREAD__
   __tsan_release(&readersLeft);
#endif
   urcu_bp_read_unlock();
}

namespace {

// The thread that waits for readers. What it shares with others needs no end, as it does not end itself: the process takes it along.
struct Waiting {
   std::atomic<std::uint32_t> asked{0};  // the last moment that somebody wants to know about
   std::atomic<std::uint32_t> over{0};   // the last one whose readers have left
   std::atomic<bool> isThere{false};     // the thread
};
constinit Waiting waiting;

// The thread does little, and all the writers' memory waits for it: it asks to run for short whiles, and so to be let on at once, where
// all processors are busy. Linux heeds that from 6.12 on.
void askForShortSlices() noexcept {
   struct {
      std::uint32_t size, policy;
      std::uint64_t flags;
      std::int32_t nice;
      std::uint32_t priority;
      std::uint64_t runtime, deadline, period;  // nanoseconds
   } attributes{sizeof attributes, SCHED_OTHER, 0, 0, 0, 100'000, 0, 0};
   syscall(SYS_sched_setattr, 0, &attributes, 0);
}

[[noreturn]] void waitForReaders() noexcept {
   askForShortSlices();
   // Once known to liburcu, it keeps liburcu's records in place while others end the process.
   urcu_bp_register_thread();
   for (std::uint32_t seen = waiting.over.load(std::memory_order_relaxed);;) {
      waiting.asked.wait(seen, std::memory_order_acquire);
      seen = waiting.asked.load(std::memory_order_acquire);
      urcu_bp_synchronize_rcu();
#ifdef __SANITIZE_THREAD__
      __tsan_acquire(&readersLeft);
#endif
      waiting.over.store(seen, std::memory_order_release);
   }
}

// The thread is no part of a child of the process. Without one nothing is freed, and the next who asks tries it again.
void needThread() noexcept {
   if (waiting.isThere.load(std::memory_order_relaxed) || waiting.isThere.exchange(true, std::memory_order_relaxed)) {
      return;
   }
   static const int watchesForks =
      pthread_atfork(nullptr, nullptr, [] { waiting.isThere.store(false, std::memory_order_relaxed); });
   static_cast<void>(watchesForks);
   // Signals are for the program's own threads.
   sigset_t all;
   sigset_t before;
   sigfillset(&all);
   pthread_sigmask(SIG_SETMASK, &all, &before);
   try {
      std::thread(waitForReaders).detach();
   } catch (const std::exception&) {
      waiting.isThere.store(false, std::memory_order_relaxed);
   }
   pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace

void Grace::begin() noexcept {
   isUnderWay_ = true;
   moment_ = waiting.asked.fetch_add(1, std::memory_order_acq_rel) + 1;
   needThread();
   waiting.asked.notify_one();
}

bool Grace::isOver() noexcept {
   if (!isUnderWay_) {
      return false;
   }
   // Their numbers come round some day.
   if (static_cast<std::int32_t>(waiting.over.load(std::memory_order_acquire) - moment_) < 0) {
      needThread();
      return false;
   }
   isUnderWay_ = false;
   return true;
}

}  // namespace routetrie::Impl

namespace routetrie {

pid_t shared_fork() {
   // A moment whose readers are waited for holds liburcu's locks, so it is waited for here: a reader of this thread's own would be
   // forever.
   ROUTETRIE_ASSERT(urcu_bp_read_ongoing() == 0, "a thread that forks holds no answer and no lock of a reader");
   urcu_bp_before_fork();
   const pid_t child = fork();
   const int error = errno;
   if (child == 0) {
      urcu_bp_after_fork_child();
   } else {
      urcu_bp_after_fork_parent();
   }
   errno = error;
   return child;
}

}  // namespace routetrie
