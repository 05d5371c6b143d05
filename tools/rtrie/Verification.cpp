#include "tools/rtrie/Verification.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <random>

#include "tools/rtrie/Op.h"
#include "tools/rtrie/engines/ContainerTable.h"
#include "tools/tables/AddressNumber.h"

namespace Rtrie {
namespace {

constexpr std::uint64_t questionsPerTell = 4096;
// Walks under prefixes that are no routes: those of some engines begin at the root, and pass all of a table.
constexpr std::uint64_t walksElsewhere = 64;

template <class Number>
Number firstOf(const Corenet::IpGenPrefix& prefix) {
   if constexpr (sizeof(Number) == sizeof(U32)) {
      return numberOf(prefix.v4Prefix().address());
   } else {
      return numberOf(prefix.v6Prefix().address());
   }
}

template <class Number>
Number lastOf(const Corenet::IpGenPrefix& prefix) {
   const Number below = prefix.len() == 0
                           ? static_cast<Number>(~Number{0})
                           : static_cast<Number>((Number{1} << (widthBits<Number> - prefix.len())) - 1);
   return prefix.len() == widthBits<Number> ? firstOf<Number>(prefix)
                                            : static_cast<Number>(firstOf<Number>(prefix) | below);
}

std::string textOfRoute(const Corenet::IpGenPrefix& route) {
   return route.af() == Corenet::AddressFamily::none ? "none" : std::string(route.stringValue());
}

std::string textOfAnswer(const Op& op, const Answer& answer) {
   if (op.kind == AnswerKind::yesNo) {
      return answer.yes ? "yes" : "no";
   }
   std::string text;
   for (const auto& route : answer.routes) {
      text += (text.empty() ? "" : " ") + textOfRoute(route);
   }
   constexpr std::size_t most = 120;
   return answer.routes.empty() ? "none" : text.size() > most ? text.substr(0, most) + " ..." : text;
}

// Gathers what is wrong with one engine.
class Faults {
  public:
   explicit Faults(Verified& verified) : verified_(verified) {}
   void add(std::string text) {
      ++verified_.faults;
      if (verified_.shown.size() < Verification::mostShown) {
         verified_.shown.push_back(std::move(text));
      }
   }

  private:
   Verified& verified_;
};

}  // namespace

Verification::Verification(const RouteSet& routes, Corenet::AddressFamily af, std::size_t samples)
   : routes_(routes), af_(af), reference_(std::make_unique<ContainerTable>(af)) {
   all_.reserve(routes.size(af));
   routes.forEachWithPayload(af, [&](const Corenet::IpGenPrefix& route, const Payload& payload) {
      all_.push_back(route);
      reference_->routeWithPayloadIs(route, payload);
   });
   // The same for a table at each run.
   std::mt19937_64 random(all_.size());
   const auto cut = [&](const Corenet::IpGenPrefix& prefix, unsigned length) {
      samples_.push_back(routetrie::make_prefix(prefix.address(), length, routetrie::host_bits::cut));
   };
   for (std::size_t i = 0; i < samples; ++i) {
      const auto& route = all_[random() % all_.size()];
      const unsigned width = af == Corenet::AddressFamily::ipv6 ? 128 : 32;
      samples_.push_back(route);
      // Questions about short prefixes are answered with whole tables.
      const unsigned length = std::max<unsigned>(route.len() > 2 ? route.len() - 2 : 0, width == 32 ? 12 : 24);
      cut(route, std::min(length, width));
      const auto anywhere = af == Corenet::AddressFamily::ipv6
                               ? prefixOf((Corenet::U128{random()} << 64) | random(), 128)
                               : prefixOf(static_cast<U32>(random()), 32);
      cut(anywhere, width / 2 + static_cast<unsigned>(random() % (width / 2 + 1)));
   }
   if (af == Corenet::AddressFamily::ipv6) {
      sweep<Corenet::U128>();
   } else {
      sweep<U32>();
   }
}

template <class Number>
void Verification::sweep() {
   std::vector<Number> addresses;
   addresses.reserve(all_.size() * 4 + 2);
   for (const auto& route : all_) {
      const Number first = firstOf<Number>(route);
      const Number last = lastOf<Number>(route);
      addresses.insert(addresses.end(), {first, last});
      if (first != 0) {
         addresses.push_back(static_cast<Number>(first - 1));
      }
      if (last != static_cast<Number>(~Number{0})) {
         addresses.push_back(static_cast<Number>(last + 1));
      }
   }
   addresses.insert(addresses.end(), {Number{0}, static_cast<Number>(~Number{0})});
   std::sort(addresses.begin(), addresses.end());
   addresses.erase(std::unique(addresses.begin(), addresses.end()), addresses.end());
   // Routes stand before those that they cover, so that those that are open at an address are a stack.
   std::vector<Corenet::IpGenPrefix> open;
   auto next = all_.begin();
   borders_.reserve(addresses.size());
   for (const Number address : addresses) {
      for (; next != all_.end() && firstOf<Number>(*next) <= address; ++next) {
         while (!open.empty() && lastOf<Number>(open.back()) < firstOf<Number>(*next)) {
            open.pop_back();
         }
         open.push_back(*next);
      }
      while (!open.empty() && lastOf<Number>(open.back()) < address) {
         open.pop_back();
      }
      borders_.push_back({prefixOf(address, static_cast<U8>(widthBits<Number>)),
                          open.empty() ? Corenet::IpGenPrefix() : open.back()});
   }
}

Verified Verification::of(const Engine& engine, const Tell& tell) const {
   const auto start = std::chrono::steady_clock::now();
   Verified verified;
   Faults faults(verified);
   const auto table = engine.make(af_);
   routes_.forEachWithPayload(af_, [&](const Corenet::IpGenPrefix& route, const Payload& payload) {
      table->routeWithPayloadIs(route, payload);
   });
   if (includes(engine.answers, Questions::audit)) {
      if (const std::string fault = table->audit(); !fault.empty()) {
         faults.add("audit: " + fault);
      }
   }

   verified.routes = table->routes();
   if (verified.routes != all_.size()) {
      faults.add(fmt::format("has {} routes, and should have {}", verified.routes, all_.size()));
   }
   if (includes(engine.answers, Questions::subtree)) {
      auto expected = all_.begin();
      bool isTold = false;
      const auto whole = af_ == Corenet::AddressFamily::ipv6 ? prefixOf(Corenet::U128{0}, 0) : prefixOf(U32{0}, 0);
      table->subtree(whole, [&](const Corenet::IpGenPrefix& route) {
         if (!isTold && (expected == all_.end() || *expected != route)) {
            isTold = true;
            faults.add(fmt::format("walks to {}, and should to {}", textOfRoute(route),
                                   expected == all_.end() ? "the end" : textOfRoute(*expected)));
         }
         expected += expected == all_.end() ? 0 : 1;
      });
      if (!isTold && expected != all_.end()) {
         faults.add(fmt::format("ends its walk before {}", textOfRoute(*expected)));
      }
   }

   const std::uint64_t questions = borders_.size() + samples_.size();
   for (const Border& border : borders_) {
      if (tell && verified.borders % questionsPerTell == 0) {
         tell(verified.borders, questions);
      }
      ++verified.borders;
      const auto answer = table->longestMatch(border.address);
      if (answer != border.answer) {
         faults.add(fmt::format("match of {} is {}, and should be {}", border.address.stringValue(),
                                textOfRoute(answer), textOfRoute(border.answer)));
      }
   }
   Answer answer;
   Answer expected;
   std::uint64_t elsewhere = 0;
   for (std::size_t i = 0; i < samples_.size(); ++i) {
      if (tell && i % (questionsPerTell / 16) == 0) {
         tell(borders_.size() + i, questions);
      }
      const bool isRoute = reference_->longestMatch(samples_[i]) == samples_[i];
      elsewhere += isRoute ? 0 : 1;
      for (const Op& op : ops()) {
         const bool isWalk = includes(Questions::subtree | Questions::children, op.needs);
         if (!includes(engine.answers, op.needs) || (isWalk && !isRoute && elsewhere > walksElsewhere)) {
            continue;
         }
         ++verified.samples;
         answer.yes = expected.yes = false;
         answer.routes.clear();
         expected.routes.clear();
         op.ask(*table, samples_[i], answer);
         op.ask(*reference_, samples_[i], expected);
         if (answer.yes != expected.yes || answer.routes != expected.routes) {
            faults.add(fmt::format("{} of {} is {}, and should be {}", op.name, samples_[i].stringValue(),
                                   textOfAnswer(op, answer), textOfAnswer(op, expected)));
         }
      }
      if (includes(engine.answers, Questions::payload) &&
          table->payload(samples_[i]) != routes_.payload(samples_[i])) {
         faults.add(fmt::format("payload of {} is another one", samples_[i].stringValue()));
      }
   }
   verified.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
   return verified;
}

}  // namespace Rtrie
