// The deepest trees that there are, on a stack of 64 KiB: a chain of all lengths, and a comb, whose every level has a
// branch and a leaf, leaning to the left or to the right. A walk, a search for children, a step, an iteration, a dump of
// either kind and the end of the trie must not need more.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <sstream>
#include <string>

#include "routetrie/trie/patricia/PatriciaTrieIterator.h"
#include "tests/property/PatriciaDataEngine.h"
#include "tests/property/Scale.h"

namespace Property {
namespace DepthTest {

// The sanitizers' frames are larger.
constexpr std::size_t stackBytes = (isSanitized ? 8 : 1) * 64 * 1024;

void onSmallStack(const std::function<void()>& work) {
   pthread_attr_t attributes;
   ASSERT_EQ(0, pthread_attr_init(&attributes));
   ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, stackBytes));
   pthread_t thread{};
   const auto run = [](void* argument) -> void* {
      (*static_cast<const std::function<void()>*>(argument))();
      return nullptr;
   };
   ASSERT_EQ(0, pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&work)));
   ASSERT_EQ(0, pthread_join(thread, nullptr));
   pthread_attr_destroy(&attributes);
}

enum class Form { chain, leftComb, rightComb };

// The routes of a form: all cuts of one address, and for a comb the sibling of each.
PrefixList routesOf(AddressFamily family, Form form) {
   std::array<U8, 16> bytes;
   bytes.fill(form == Form::leftComb ? 0x00 : 0xff);
   const U32 width = widthOf(family);
   PrefixList list;
   for (U32 length = 1; length <= width; ++length) {
      list.push_back(prefixOf(family, bytes, length));
      if (form != Form::chain) {
         list.push_back(flipped(list.back(), length - 1));
      }
   }
   return list;
}

// The lines of a tree. The raw byte for the length 10 of an IPv4 key is a line feed of its own.
int lineEnds(const std::string& tree) {
   int count = 0;
   for (auto at = tree.find("]\n"); at != std::string::npos; at = tree.find("]\n", at + 1)) {
      ++count;
   }
   return count;
}

template <class E>
class DepthTest : public testing::Test {
  protected:
   static void goThrough(Form form) {
      const PrefixList routes = routesOf(E::family, form);
      auto engine = std::make_unique<E>();
      for (const auto& p : routes) {
         engine->add(p);
      }
      const U32 width = widthOf(E::family);
      EXPECT_EQ(form == Form::chain ? 1 : 2 * width + 1, static_cast<U32>(engine->trie().nodes()));
      PatriciaTrie& trie = engine->trie();
      std::size_t walked = 0;
      std::size_t children = 0;
      std::size_t iterated = 0;
      std::size_t stepped = 0;
      std::ostringstream list;
      std::ostringstream tree;
      onSmallStack([&] {
         walked = engine->ordered().size();
         children = reportOfChildren<typename E::Calls::Prefix>(trie, routes.front())->prefixes.size();
         for (const auto& p : Routing::routesOf(TriePtr(&trie))) {
            iterated += p.len() != 0;
         }
         if constexpr ((E::abilities & nextAbility) != 0) {
            for (auto p = nextOf(trie, zeroLength(E::family)); p; p = nextOf(trie, *p)) {
               ++stepped;
            }
         }
         const auto context = Keel::dumpContextFactory(list);
         trie.dumpState(context, 0);
         Routing::dumpTree(tree, trie.root(), 0, trie.paf());
      });
      EXPECT_EQ("", trie.audit());
      EXPECT_EQ(routes.size(), walked);
      EXPECT_EQ(routes.size(), iterated);
      EXPECT_EQ((E::abilities & nextAbility) != 0 ? routes.size() : 0, stepped);
      EXPECT_EQ(form == Form::chain ? 1U : 2U, children);
      const std::string text = list.str();
      EXPECT_EQ(routes.size() + 2, static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')));
      EXPECT_EQ(trie.nodes(), lineEnds(tree.str()));
      onSmallStack([&] { engine->trie().handleDeletion(); });
      EXPECT_EQ(0, engine->trie().nodes());
   }
};
using Engines = testing::Types<PatriciaEngine<AddressFamily::ipv4, IpGenPrefix>, Ipv4CompactEngine, Ipv6LegacyEngine,
                               Ipv6CompactEngine, PatriciaDataEngine<AddressFamily::ipv6, IpGenPrefix>,
                               PatriciaDataEngine<AddressFamily::ipv6, CompactIpPrefix>>;
TYPED_TEST_SUITE(DepthTest, Engines);

TYPED_TEST(DepthTest, aChainOfAllLengths) { this->goThrough(Form::chain); }
TYPED_TEST(DepthTest, aCombToTheLeft) { this->goThrough(Form::leftComb); }
TYPED_TEST(DepthTest, aCombToTheRight) { this->goThrough(Form::rightComb); }

// The stack is small indeed.
TEST(DepthDeathTest, aLargeFrameDoesNotFit) {
   EXPECT_DEATH(onSmallStack([] {
                   volatile char frame[stackBytes];
                   for (std::size_t i = 0; i < stackBytes; i += 1024) {
                      frame[i] = 1;
                   }
                   static_cast<void>(frame[0]);
                }),
                "");
}

}  // namespace DepthTest
}  // namespace Property
