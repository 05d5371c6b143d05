#include "routetrie/trie/patricia/PatriciaTrieIterator.h"

#include <fmt/core.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "routetrie/platform/BriskTrace/BriskTrace.h"
#include "tests/trie/patricia/PatriciaKinds.h"

namespace PatriciaTrieIteratorTest {

using namespace testing_support;
using testing::ElementsAre;
using Texts = std::vector<std::string>;

template <class PrefixType>
struct IteratorOf;
template <>
struct IteratorOf<IpGenPrefix> {
   using Iterator = Routing::PatriciaTrieIterator;
   using Cb = Routing::PatriciaTrieIteratorCb;
   static auto routes(const TriePtr& trie, const Corvid::Ptr<Cb>& cb) { return Routing::routesOf(trie, cb); }
};
template <>
struct IteratorOf<CompactIpPrefix> {
   using Iterator = Routing::PatriciaTrieCompactIterator;
   using Cb = Routing::PatriciaTrieCompactIteratorCb;
   static auto routes(const TriePtr& trie, const Corvid::Ptr<Cb>& cb) { return Routing::compactRoutesOf(trie, cb); }
};

// Keeps what it is offered; leaves out the prefixes in `skipped`, or all.
template <class PrefixType>
class Skipper : public IteratorOf<PrefixType>::Cb {
  public:
   bool isPrefixSkip(const PrefixType& p) override {
      offered.emplace_back(p.stringValue());
      if (throwsAt == offered.size()) {
         throw std::runtime_error("enough");
      }
      return skipsAll || std::find(skipped.begin(), skipped.end(), offered.back()) != skipped.end();
   }
   Texts offered;
   Texts skipped;
   bool skipsAll = false;
   std::size_t throwsAt = 0;  // the n-th offer
};

template <class Kind>
class PatriciaTrieIterator : public PatriciaFixture<Kind> {
  protected:
   using P = typename Kind::P;
   using Iterator = typename IteratorOf<P>::Iterator;

   Texts routes() const {
      Texts seen;
      for (const P& p : IteratorOf<P>::routes(this->trie, nullptr)) {
         seen.emplace_back(p.stringValue());
      }
      return seen;
   }
   Texts routesSkipping(const Texts& skipped) const {
      skipper->skipped = skipped;
      Texts seen;
      for (const P& p : IteratorOf<P>::routes(this->trie, skipper)) {
         seen.emplace_back(p.stringValue());
      }
      return seen;
   }
   Corvid::Ptr<Skipper<P>> skipper = Corvid::ptrIsImpl<Skipper<P>>();
};
TYPED_TEST_SUITE(PatriciaTrieIterator, PatriciaKinds);

//--- the order ---

TYPED_TEST(PatriciaTrieIterator, emptyTrieIsAtTheEndAtOnce) {
   typename TestFixture::Iterator iterator(this->trie, nullptr);
   EXPECT_FALSE(iterator);
   EXPECT_EQ(TypeParam::empty(), iterator.key());
   iterator.next();
   EXPECT_FALSE(iterator);
}

TYPED_TEST(PatriciaTrieIterator, tellsAsABoolWhetherItStandsOnARoute) {
   EXPECT_TRUE((std::is_convertible_v<const typename TestFixture::Iterator&, bool>));
}

TYPED_TEST(PatriciaTrieIterator, defaultRouteAlone) {
   this->add("0.0.0.0/0");
   typename TestFixture::Iterator iterator(this->trie, nullptr);
   ASSERT_TRUE(static_cast<bool>(iterator));
   EXPECT_EQ(this->p("0.0.0.0/0"), iterator.key());
   iterator.next();
   EXPECT_FALSE(iterator);
   EXPECT_EQ(TypeParam::empty(), *iterator);
}

TYPED_TEST(PatriciaTrieIterator, byAddressAndLengthAndTheDefaultRouteLast) {
   this->run({"0.0.0.0/0", "10.1.0.0/16", "10.0.0.0/8"});
   EXPECT_EQ(this->texts({"10.0.0.0/8", "10.1.0.0/16", "0.0.0.0/0"}), this->routes());
   EXPECT_EQ(this->texts({"0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16"}), this->walk("0.0.0.0/0")) << "a walk: first";
   this->run({"10.128.0.0/9", "10.128.0.0/16", "11.0.0.0/8", "9.255.255.255/32"});
   EXPECT_EQ(this->texts({"9.255.255.255/32", "10.0.0.0/8", "10.1.0.0/16", "10.128.0.0/9", "10.128.0.0/16",
                          "11.0.0.0/8", "0.0.0.0/0"}),
             this->routes());
}

TYPED_TEST(PatriciaTrieIterator, whiteNodesGiveNoRouteAndAreEntered) {
   this->run({"10.0.0.0/8", "10.1.2.0/24", "-10.1.2.0/24", "10.200.0.0/16", "12.0.0.0/8"});
   ASSERT_EQ(5, this->trie->nodes()) << this->drawing();
   EXPECT_EQ(this->texts({"10.0.0.0/8", "10.200.0.0/16", "12.0.0.0/8"}), this->routes());
}

TYPED_TEST(PatriciaTrieIterator, steps) {
   this->run({"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8"});
   typename TestFixture::Iterator iterator(this->trie, nullptr);
   EXPECT_EQ(&iterator, iterator.ptr());
   EXPECT_EQ(this->p("11.0.0.0/8"), *++iterator);
   EXPECT_EQ(this->p("11.0.0.0/8"), iterator.key());
   EXPECT_FALSE(iterator == std::default_sentinel);
   iterator++;
   EXPECT_EQ(this->p("12.0.0.0/8"), *iterator);
   iterator.next();
   EXPECT_TRUE(iterator == std::default_sentinel);
}

TYPED_TEST(PatriciaTrieIterator, severalAtOnceAmongLookups) {
   this->run({"10.0.0.0/8", "11.0.0.0/8"});
   typename TestFixture::Iterator one(this->trie, nullptr);
   typename TestFixture::Iterator two(this->trie, nullptr);
   one.next();
   EXPECT_EQ(this->p("10.0.0.0/8"), *two);
   EXPECT_EQ(this->p("10.0.0.0/8"), this->match("10.1.0.0/16"));
   EXPECT_EQ(this->texts({"10.0.0.0/8", "11.0.0.0/8"}), this->walk("0.0.0.0/0"));
   EXPECT_EQ(this->p("11.0.0.0/8"), *one);
}

//--- leaving routes out ---

TYPED_TEST(PatriciaTrieIterator, aRouteLeftOutHidesNothingBeneathIt) {
   this->run({"10.0.0.0/8", "10.1.0.0/16", "10.1.128.0/24", "10.1.0.0/24"});
   EXPECT_EQ(this->texts({"10.1.0.0/16", "10.1.0.0/24", "10.1.128.0/24"}),
             this->routesSkipping(this->texts({"10.0.0.0/8"})));
   EXPECT_EQ(this->texts({"10.0.0.0/8", "10.1.0.0/16", "10.1.0.0/24", "10.1.128.0/24"}), this->skipper->offered);
}

TYPED_TEST(PatriciaTrieIterator, everyRouteLeftOut) {
   this->run({"0.0.0.0/0", "10.0.0.0/8", "11.0.0.0/8"});
   this->skipper->skipsAll = true;
   typename TestFixture::Iterator iterator(this->trie, this->skipper);
   EXPECT_FALSE(iterator);
   const auto once = this->texts({"10.0.0.0/8", "11.0.0.0/8", "0.0.0.0/0"});
   EXPECT_EQ(once, this->skipper->offered);
   iterator.next();
   EXPECT_EQ(once, this->skipper->offered);
}

TYPED_TEST(PatriciaTrieIterator, defaultRouteLeftOutIsOfferedOnce) {
   this->run({"0.0.0.0/0", "10.0.0.0/8", "11.0.0.0/8"});
   EXPECT_EQ(this->texts({"10.0.0.0/8", "11.0.0.0/8"}), this->routesSkipping(this->texts({"0.0.0.0/0"})));
   EXPECT_EQ(this->texts({"10.0.0.0/8", "11.0.0.0/8", "0.0.0.0/0"}), this->skipper->offered);
}

TYPED_TEST(PatriciaTrieIterator, nothingHappensPastTheEnd) {
   this->run({"0.0.0.0/0", "10.0.0.0/8"});
   typename TestFixture::Iterator iterator(this->trie, this->skipper);
   while (iterator) {
      iterator.next();
   }
   this->skipper->offered.clear();
   iterator.next();
   ++iterator;
   EXPECT_FALSE(iterator);
   EXPECT_EQ(Texts{}, this->skipper->offered);
}

TYPED_TEST(PatriciaTrieIterator, afterAnExceptionItStandsWhereItStood) {
   this->run({"0.0.0.0/0", "10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8"});
   for (std::size_t offer = 2; offer <= 4; ++offer) {
      const auto thrower = Corvid::ptrIsImpl<Skipper<typename TypeParam::P>>();
      thrower->throwsAt = offer;
      typename TestFixture::Iterator iterator(this->trie, thrower);
      Texts seen;
      for (int exceptions = 0; iterator;) {
         seen.emplace_back(iterator.key().stringValue());
         const auto before = iterator.key();
         try {
            iterator.next();
         } catch (const std::runtime_error&) {
            EXPECT_EQ(1, ++exceptions);
            EXPECT_EQ(before, iterator.key());
            iterator.next();
         }
      }
      EXPECT_EQ(this->texts({"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8", "0.0.0.0/0"}), seen) << offer;
   }
}

TYPED_TEST(PatriciaTrieIterator, anExceptionOfTheConstructorLowersTheCount) {
   this->add("10.0.0.0/8");
   this->skipper->throwsAt = 1;
   EXPECT_THROW(typename TestFixture::Iterator(this->trie, this->skipper), std::runtime_error);
   EXPECT_EQ(0, this->trie->iterators());
   EXPECT_EQ(1U, this->trie->uses());
   EXPECT_EQ(1U, this->skipper->uses());
}

//--- the count and the trie's life ---

TYPED_TEST(PatriciaTrieIterator, theTrieCountsLiveIterators) {
   this->add("10.0.0.0/8");
   {
      typename TestFixture::Iterator one(this->trie, nullptr);
      EXPECT_EQ(1, this->trie->iterators());
      {
         typename TestFixture::Iterator two(this->trie, nullptr);
         EXPECT_EQ(2, this->trie->iterators());
      }
      EXPECT_EQ(1, this->trie->iterators());
      one.next();
      EXPECT_EQ(1, this->trie->iterators()) << "also at the end";
   }
   EXPECT_EQ(0, this->trie->iterators());
   this->add("11.0.0.0/8");
}

TYPED_TEST(PatriciaTrieIterator, keepsTheTrieAlive) {
   TriePtr held = TypeParam::newTrie();
   TypeParam::add(*held, this->p("10.0.0.0/8"));
   typename TestFixture::Iterator iterator(held, nullptr);
   held = nullptr;
   EXPECT_EQ(this->p("10.0.0.0/8"), *iterator);
   iterator.next();
   EXPECT_FALSE(iterator);
}

TYPED_TEST(PatriciaTrieIterator, withoutATrieItIsAtTheEnd) {
   typename TestFixture::Iterator iterator(nullptr, nullptr);
   EXPECT_FALSE(iterator);
   iterator.next();
}

TYPED_TEST(PatriciaTrieIterator, moves) {
   this->run({"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8", "13.0.0.0/8"});
   typename TestFixture::Iterator one(this->trie, nullptr);
   one.next();
   typename TestFixture::Iterator two(std::move(one));
   EXPECT_FALSE(one);
   one.next();
   EXPECT_EQ(1, this->trie->iterators());
   EXPECT_EQ(this->p("12.0.0.0/8"), *++two);
   typename TestFixture::Iterator three(this->trie, nullptr);
   EXPECT_EQ(2, this->trie->iterators());
   three = std::move(two);
   EXPECT_EQ(1, this->trie->iterators());
   EXPECT_EQ(this->p("13.0.0.0/8"), *++three);
   one = std::move(three);
   EXPECT_EQ(this->p("13.0.0.0/8"), *one);
   EXPECT_FALSE(++one);
}

//--- other node types ---

// Nothing ties the prefix type of an iterator to that of the trie.
TEST(PatriciaTrieIterator, eitherPrefixTypeOnAnyTrie) {
   for (const bool compact : {false, true}) {
      const auto ipv6 = Routing::patriciaTrieFactory(Corenet::ipv6, compact);
      for (const auto* text : {"2001:db8::/32", "2001:db8::1/128"}) {
         if (compact) {
            ipv6->updateRouteCompact(CompactIpPrefix::fromString(text), nullptr);
         } else {
            ipv6->updateRoute(IpGenPrefix::fromString(text), nullptr);
         }
      }
      Texts seen;
      for (const auto& p : Routing::routesOf(ipv6)) {
         seen.emplace_back(p.stringValue());
      }
      for (const auto& p : Routing::compactRoutesOf(ipv6)) {
         seen.emplace_back(p.stringValue());
      }
      EXPECT_THAT(seen, ElementsAre("2001:db8::/32", "2001:db8::1/128", "2001:db8::/32", "2001:db8::1/128"));
   }
}

TEST(PatriciaTrieIterator, aRangeKeepsTheTrieAliveAndForbidsNothing) {
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   const auto routes = Routing::routesOf(trie);
   EXPECT_EQ(0, trie->iterators());
   trie->updateRoute(IpGenPrefix::fromString("10.0.0.0/8"), nullptr);
   trie = nullptr;
   EXPECT_EQ(1, std::ranges::distance(routes));
   EXPECT_EQ(1, std::ranges::count(routes, IpGenPrefix::fromString("10.0.0.0/8"))) << "each begin is a new iterator";
}

//--- the trace ---

TEST(PatriciaTrieIteratorDeathTest, leavesARecordInTheTraceFile) {
   EXPECT_EXIT(
      {
         BriskTrace::defaultBriskTraceHandle.traceFileIs(BriskTrace::TraceFile::inMemory());
         const auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
         for (int i = 0; i < 2; ++i) {
            const Routing::PatriciaTrieIterator iterator(trie, nullptr);
         }
         for (const auto& entry : BriskTrace::defaultBriskTraceHandle.mtTraceFile()->entries()) {
            fmt::print(stderr, "{} {}\n", entry.source, entry.text);
         }
         std::exit(7);
      },
      testing::ExitedWithCode(7),
      "^PatriciaTrieIterator PatriciaTrieIteratorImpl::PatriciaTrieIteratorImpl\n"
      "PatriciaTrieIterator PatriciaTrieIteratorImpl::PatriciaTrieIteratorImpl\n$");
}

//--- broken rules ---

template <class Kind>
class PatriciaTrieIteratorDeathTest : public PatriciaTrieIterator<Kind> {};
TYPED_TEST_SUITE(PatriciaTrieIteratorDeathTest, PatriciaKinds);

TYPED_TEST(PatriciaTrieIteratorDeathTest, theTrieMayNotChangeMeanwhile) {
   constexpr auto text = "0 == iterators\\(\\)' failed";
   this->add("10.0.0.0/8");
   typename TestFixture::Iterator iterator(this->trie, nullptr);
   iterator.next();
   EXPECT_DEATH(this->add("11.0.0.0/8"), text);
   EXPECT_DEATH(this->del("10.0.0.0/8"), text);
   EXPECT_DEATH(this->del("11.0.0.0/8"), text) << "absent";
   EXPECT_DEATH(this->add("0.0.0.0/0"), text);
   EXPECT_DEATH(this->del("0.0.0.0/0"), text);
   EXPECT_DEATH(this->trie->handleDeletion(), text);
}

TYPED_TEST(PatriciaTrieIteratorDeathTest, countAlreadyZero) {
   EXPECT_DEATH(
      {
         typename TestFixture::Iterator iterator(this->trie, nullptr);
         this->trie->iteratorsIs(0);
      },
      "0 != \\( \\*this \\)->iterators\\(\\)' failed");
}

}  // namespace PatriciaTrieIteratorTest
