// A tree beside a std::map: after each change every question is asked and every invariant checked.
#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "routetrie/table/Tree.h"
#include "tests/property/Scale.h"

namespace routetrie::Impl {
namespace TreeRandomTest {

// Where prefixes come from: anywhere, near a few, on a few branches at the borders of strides, dense.
enum class Shape { anywhere, near, borders, dense };

template <unsigned width>
class World {
  public:
   World(unsigned seed, unsigned valueSize, Shape shape)
      : random_(seed), valueSize_(valueSize), shape_(shape), tree_(valueSize) {
      for (Bits& bits : pool_) {
         bits = anyBits();
      }
   }

   // So many routes that the tree has an index, on few branches, where later changes meet them.
   void fill(std::size_t routes) {
      for (U64 value = 0; model_.size() < routes; ++value) {
         const unsigned length = width / 4 + 4 + lengthUpTo(width / 4);
         const Word any = anyBits().word();
         const Bits bits = Bits((pool_[0].word() & Bits::mask(3)) | (any & ~Bits::mask(3))).cut(length);
         if (model_.insert({{bits, length}, value}).second) {
            tree_.insert(
               bits, length, [](void* from, void* to) { std::memcpy(to, from, 8); }, &value);
            known_.push_back({bits, length});
         }
      }
      auditEvery_ = 16;
      ASSERT_EQ("", tree_.audit());
      ASSERT_GT(tree_.memory().index, 0u);
   }
   void run(int steps) {
      for (int step = 0; step < steps && !testing::Test::HasFatalFailure(); ++step) {
         SCOPED_TRACE("step " + std::to_string(step));
         change(step / (steps / 4 + 1) % 2 == 0);
         const Bits bits = someBits();
         ask(bits, width);
         ask(bits, lengthUpTo(width));
         if (static_cast<unsigned>(step) % auditEvery_ == 0) {
            ASSERT_EQ("", tree_.audit());
         }
         if (step % 128 == 0) {
            walk();
            wander();
            bulk();
            tree_ = tree_.clone();
         }
      }
      while (!model_.empty() && !testing::Test::HasFatalFailure()) {
         const bool audits = model_.size() % (auditEvery_ * auditEvery_) == 0;
         auto at = model_.lower_bound({someBits(), 0});
         at = at == model_.end() ? model_.begin() : at;
         ASSERT_TRUE(tree_.erase(at->first.first, at->first.second, nullptr));
         model_.erase(at);
         if (audits) {
            ASSERT_EQ("", tree_.audit());
         }
      }
   }

  private:
   using Bits = Corenet::AddressBits<width>;
   using Word = typename Bits::Word;
   using Key = std::pair<Bits, unsigned>;
   using Model = std::map<Key, U64>;
   using Cursor = typename Tree<width>::Cursor;

   Bits anyBits() { return Bits(static_cast<Word>(U128{random_()} << 64 | random_())); }
   unsigned lengthUpTo(unsigned most) { return static_cast<unsigned>(random_() % (most + 1)); }
   Bits shapedBits() {
      constexpr Word top = Word{1} << (width - 1);
      const Word any = anyBits().word();
      switch (shape_) {
         case Shape::anywhere: break;
         case Shape::near: return Bits(pool_[random_() % pool_.size()].word() ^ (top >> (random_() % width)));
         case Shape::borders:
            return Bits(any & (top | top >> 5 | top >> 6 | top >> 11 | top >> 12 | top >> 17 | top >> 18 | top >> 29 |
                               top >> 30 | Word{3}));
         case Shape::dense:
            return Bits((pool_[0].word() & Bits::mask(width / 4)) | (any & Bits::mask(width / 4 + 8)) | (any & 0xff));
      }
      return Bits(any);
   }
   Bits someBits() {
      const Bits bits = known_.empty() || random_() % 2 == 0 ? shapedBits() : known_[random_() % known_.size()].first;
      if (random_() % 2 == 0) {
         return bits;
      }
      const unsigned kept = lengthUpTo(width);
      return Bits(bits.cut(kept).word() | (anyBits().word() & static_cast<Word>(~Bits::mask(kept))));
   }
   bool isValue(const void* place, typename Model::const_iterator at) const {
      return at == model_.end() ? place == nullptr
                                : place != nullptr && std::memcmp(place, &at->second, valueSize_) == 0;
   }

   void change(bool grows) {
      Key key{shapedBits(), lengthUpTo(width)};
      if (!known_.empty() && random_() % 2 == 0) {
         key = known_[random_() % known_.size()];
         key.second = random_() % 4 == 0 ? lengthUpTo(width) : key.second;
      }
      key.first = key.first.cut(key.second);
      const auto generation = tree_.generation();
      bool changed = false;
      if (random_() % 16 < (grows ? 13u : 3u)) {
         U64 value = random_();
         const auto inserted = tree_.insert(
            key.first, key.second, [](void* from, void* to) { std::memcpy(to, from, 8); }, &value);
         changed = model_.insert({key, value}).second;
         ASSERT_EQ(changed, inserted.created);
         ASSERT_TRUE(isValue(inserted.value, model_.find(key)));
         if (changed) {
            known_.push_back(key);
         }
      } else {
         U64 old = 0;
         const auto at = model_.find(key);
         changed = at != model_.end();
         ASSERT_EQ(changed, tree_.erase(key.first, key.second, &old));
         if (changed) {
            ASSERT_TRUE(isValue(&old, at));
            model_.erase(at);
         }
      }
      ASSERT_EQ(changed, generation != tree_.generation());
      ASSERT_EQ(model_.size(), tree_.size());
      ask(key.first, key.second);
   }

   void ask(Bits bits, unsigned length) {
      bits = bits.cut(length);
      auto best = model_.end();
      Lengths<width> covering;
      for (unsigned l = 0; l <= length; ++l) {
         if (const auto at = model_.find({bits.cut(l), l}); at != model_.end()) {
            best = at;
            covering.insert(l);
         }
      }
      const auto match = tree_.match(bits, length);
      ASSERT_TRUE(isValue(match.value, best));
      ASSERT_EQ(best != model_.end() ? best->first.second : 0, match.length);
      ASSERT_TRUE(covering == tree_.covering(bits, length));
      ASSERT_TRUE(isValue(tree_.find(bits, length), model_.find({bits, length})));
      const auto behind = model_.upper_bound({bits, length});
      ASSERT_EQ(behind != model_.end() && behind->first.first.cut(length) == bits, tree_.hasLonger(bits, length));
      if (length == width) {
         ASSERT_TRUE(isValue(lookup(bits), best));
      }
      askOrder(bits, length);
      askOrder(Bits(bits.word() | static_cast<Word>(~Bits::mask(length))), width + 1);
   }
   const void* lookup(Bits bits) const {
      switch (valueSize_) {
         case 0: return tree_.template lookup<0>(bits);
         case 1: return tree_.template lookup<1>(bits);
         case 2: return tree_.template lookup<2>(bits);
         case 4: return tree_.template lookup<4>(bits);
         default: return tree_.template lookup<8>(bits);
      }
   }

   void expectAt(bool there, const Cursor& cursor, typename Model::const_iterator at) {
      ASSERT_EQ(at != model_.end(), there);
      if (there) {
         ASSERT_TRUE(cursor.bits == at->first.first);
         ASSERT_EQ(at->first.second, cursor.length);
         ASSERT_TRUE(isValue(cursor.value, at));
      }
   }
   typename Model::const_iterator before(typename Model::const_iterator at) const {
      return at == model_.begin() ? model_.end() : std::prev(at);
   }
   void askOrder(Bits bits, unsigned length) {
      const typename Model::const_iterator at = model_.lower_bound({bits, length});
      Cursor cursor;
      expectAt(tree_.seek(cursor, bits, length), cursor, at);
      if (at != model_.end()) {
         Cursor step = cursor;
         expectAt(tree_.next(step), step, std::next(at));
         step = tree_.at(cursor.bits, cursor.length, cursor.value);
         expectAt(tree_.next(step), step, std::next(at));
         step = cursor;
         expectAt(tree_.previous(step), step, before(at));
      }
      expectAt(tree_.seekBefore(cursor, bits, length), cursor, before(at));
   }
   void walk() {
      Cursor cursor;
      auto at = model_.begin();
      for (bool there = tree_.first(cursor); there; there = tree_.next(cursor), ++at) {
         expectAt(there, cursor, at);
      }
      ASSERT_TRUE(at == model_.end());
      auto back = model_.end();
      for (bool there = tree_.last(cursor); there; there = tree_.previous(cursor)) {
         expectAt(there, cursor, --back);
      }
      ASSERT_TRUE(back == model_.begin());
   }
   // To and fro: each run of steps goes on from where the one before ended, forward or back.
   void wander() {
      for (int start = 0; start < 4 && !testing::Test::HasFatalFailure(); ++start) {
         typename Model::const_iterator at = model_.lower_bound({someBits(), 0});
         Cursor cursor;
         if (at == model_.end() || !tree_.seek(cursor, at->first.first, at->first.second)) {
            ASSERT_TRUE(at == model_.end());
            continue;
         }
         for (int run = 0; run < 6 && !testing::Test::HasFatalFailure(); ++run) {
            for (unsigned steps = lengthUpTo(random_() % 4 == 0 ? 70 : 3);
                 steps != 0 && std::next(at) != model_.end(); --steps) {
               expectAt(tree_.next(cursor), cursor, ++at);
            }
            for (unsigned steps = lengthUpTo(random_() % 4 == 0 ? 70 : 3); steps != 0 && at != model_.begin();
                 --steps) {
               expectAt(tree_.previous(cursor), cursor, --at);
            }
         }
         Cursor step = cursor;
         expectAt(tree_.next(step), step, std::next(at));
         expectAt(tree_.previous(cursor), cursor, before(at));
      }
   }
   void bulk() {
      std::vector<Bits> asked(77);
      for (Bits& bits : asked) {
         bits = someBits();
      }
      const auto run = [&]<unsigned size>(std::integral_constant<unsigned, size>) {
         if (size == valueSize_) {
            tree_.template lookupBulk<size>(
               asked.size(), [&](std::size_t i) { return asked[i]; },
               [&](std::size_t i, const void* answer) { ASSERT_EQ(lookup(asked[i]), answer); });
         }
      };
      run(std::integral_constant<unsigned, 0>());
      run(std::integral_constant<unsigned, 1>());
      run(std::integral_constant<unsigned, 2>());
      run(std::integral_constant<unsigned, 4>());
      run(std::integral_constant<unsigned, 8>());
   }

   std::mt19937_64 random_;
   unsigned valueSize_;
   Shape shape_;
   unsigned auditEvery_ = 1;
   Tree<width> tree_;
   Model model_;
   std::vector<Key> known_;
   std::array<Bits, 8> pool_;
};

TEST(TreeRandom, asAMap) {
   constexpr unsigned sizes[] = {4, 0, 1, 2, 8};
   unsigned seed = 20;
   for (const Shape shape : {Shape::anywhere, Shape::near, Shape::borders, Shape::dense}) {
      for (const unsigned valueSize : sizes) {
         SCOPED_TRACE("seed " + std::to_string(++seed));
         World<32>(seed, valueSize, shape).run(400);
         World<128>(seed, valueSize, shape).run(400);
         if (testing::Test::HasFatalFailure()) {
            return;
         }
      }
   }
}

TEST(TreeRandom, asAMapWithAnIndex) {
   unsigned seed = 50;
   for (const Shape shape : {Shape::anywhere, Shape::near, Shape::borders, Shape::dense}) {
      SCOPED_TRACE("seed " + std::to_string(++seed));
      // A family for each shape in turn, and at full size both.
      if (Property::isFull() || seed % 2 == 0) {
         World<32> four(seed, 4, shape);
         four.fill(34000);
         four.run(1000);
      }
      if (Property::isFull() || seed % 2 == 1) {
         World<128> six(seed, 4, shape);
         six.fill(9500);
         six.run(1000);
      }
      if (testing::Test::HasFatalFailure()) {
         return;
      }
   }
}

}  // namespace TreeRandomTest
}  // namespace routetrie::Impl
