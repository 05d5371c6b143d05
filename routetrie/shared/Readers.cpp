#include "routetrie/shared/Readers.h"

// What a thread sanitizer does not see into it must not see half of either. And another one, in these functions, finds that liburcu's
// record of a thread does not lie as its type says.
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
#define _LGPL_SOURCE  // its inline functions; this library is one that may be linked anew
#endif
#include <urcu/urcu-bp.h>

#include <atomic>
#include <new>

#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#endif

namespace routetrie::Impl {

// To the sanitizer, leaving is a release and having seen that all have left an acquisition, of one thing; and liburcu hands a ticket on.
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

enum class TicketState { out, back, leftBehind };

struct Grace::Ticket {
   rcu_head head{};  // first, as its address is the ticket's
   std::atomic<TicketState> state{TicketState::back};

   static void isBack(rcu_head* head) {
      auto* const ticket = static_cast<Ticket*>(static_cast<void*>(head));
#ifdef __SANITIZE_THREAD__
      __tsan_acquire(&readersLeft);
      __tsan_acquire(ticket);
#endif
      if (ticket->state.exchange(TicketState::back, std::memory_order_acq_rel) == TicketState::leftBehind) {
         delete ticket;
      }
   }
};

Grace::Grace() : ticket_(new Ticket) {}

Grace::~Grace() {
   if (ticket_->state.exchange(TicketState::leftBehind, std::memory_order_acq_rel) == TicketState::back) {
      delete ticket_;
   }
}

void Grace::begin() noexcept {
   isUnderWay_ = true;
   ticket_->state.store(TicketState::out, std::memory_order_relaxed);
#ifdef __SANITIZE_THREAD__
   __tsan_release(ticket_);
#endif
   urcu_bp_call_rcu(&ticket_->head, Ticket::isBack);
}

bool Grace::isOver() noexcept {
   if (!isUnderWay_ || ticket_->state.load(std::memory_order_acquire) != TicketState::back) {
      return false;
   }
   isUnderWay_ = false;
   return true;
}

}  // namespace routetrie::Impl
