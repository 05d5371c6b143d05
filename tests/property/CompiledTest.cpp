// Compiled tables beside the tables that they are made from: every address where an answer may change, and the one before it, in
// small exhaustive worlds, random ones of many shapes and a whole Internet table, with every form and all instructions there are.
#include "routetrie/compiled.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "tests/property/InternetTable.h"
#include "tests/property/Scale.h"

namespace Property {
namespace CompiledTest {

using routetrie::instruction_set;
using routetrie::table4;
using routetrie::table6;
using routetrie::Impl::CompiledForm;

std::vector<instruction_set> instructionSets() {
   std::vector<instruction_set> there;
   for (const auto with : {instruction_set::plain, instruction_set::avx2, instruction_set::avx512}) {
      if (routetrie::Impl::hasInstructions(with)) {
         there.push_back(with);
      }
   }
   return there;
}

template <class Table>
class CompiledProperty : public testing::Test {
  public:
   using P = typename Table::prefix_type;
   using A = typename Table::address_type;
   using Bits = typename A::Bits;
   using Word = typename Bits::Word;
   static constexpr unsigned width = P::width;
   using Core = routetrie::Impl::Compiled<width>;

   static P prefixOf(Word word, unsigned length) { return P::cut(Bits(word), length); }
   Word anyWord() {
      if constexpr (width == 128) {
         return Word{random()} << 64 | random();
      } else {
         return static_cast<Word>(random());
      }
   }

   // The first and the last address of each route and of the whole space, and their neighbours.
   static std::vector<A> borders(const Table& table) {
      std::set<Word> words{0, static_cast<Word>(~Word{0})};
      for (const auto& [where, value] : table) {
         const Word first = where.bits().word();
         const Word last = static_cast<Word>(first | static_cast<Word>(~Bits::mask(where.len())));
         for (const Word word : {first, last}) {
            words.insert({static_cast<Word>(word - 1), word, static_cast<Word>(word + 1)});
         }
      }
      std::vector<A> addresses;
      for (const Word word : words) {
         addresses.push_back(A(Bits(word)));
      }
      return addresses;
   }

   static routetrie::Impl::Borders<width> swept(const Table& table) {
      routetrie::Impl::BorderSweep<width> sweep(0);
      for (const auto& [where, value] : table) {
         sweep.add(where.bits(), where.len(), value);
      }
      return sweep.finish();
   }

   // "" or the first address with another answer than the table's.
   static std::string compare(const Core& compiled, const Table& table, const std::vector<A>& addresses) {
      std::vector<const U32*> expected;
      for (const A& a : addresses) {
         const auto best = table.match(a);
         expected.push_back(best ? &best->value : nullptr);
      }
      std::vector<const U32*> found(addresses.size());
      const auto differs = [&](std::size_t i, const U32* got, instruction_set with, const char* how) {
         const auto text = [](const U32* value) { return value == nullptr ? "none" : std::to_string(*value); };
         return fmt::format("{} in a {}, instructions {}, {}: {}, but the table says {}", addresses[i].stringValue(),
                            compiled.shape(), static_cast<int>(with), how, text(got), text(expected[i]));
      };
      const auto same = [](const U32* a, const U32* b) {
         return (a == nullptr) == (b == nullptr) && (a == nullptr || *a == *b);
      };
      for (const auto with : instructionSets()) {
         for (std::size_t i = 0; i < addresses.size(); ++i) {
            const U32* const got = compiled.lookup(addresses[i].bits(), with);
            if (!same(got, expected[i])) {
               return differs(i, got, with, "one");
            }
         }
         // Bursts of every size around those of the machine.
         for (std::size_t done = 0, size = 1; done < addresses.size(); done += size, size = size % 67 + 1) {
            size = std::min(size, addresses.size() - done);
            compiled.lookupBulk(addresses.data() + done, found.data() + done, size, with);
         }
         for (std::size_t i = 0; i < addresses.size(); ++i) {
            if (!same(found[i], expected[i])) {
               return differs(i, found[i], with, "in a burst");
            }
         }
      }
      return "";
   }

   static std::vector<CompiledForm> forms() {
      return width == 32 ? std::vector{CompiledForm::best, CompiledForm::bitmap, CompiledForm::tree}
                         : std::vector{CompiledForm::best, CompiledForm::tree, CompiledForm::sorted};
   }
   std::string compareForms(const Table& table, const std::vector<A>& addresses) {
      const auto of = swept(table);
      ++asked;
      for (const CompiledForm form : forms()) {
         // Three megabytes each time.
         if (form == CompiledForm::bitmap && !isFull() && asked % (isSanitized ? 16 : 64) != 0) {
            continue;
         }
         const Core compiled(of, form);
         shapes.insert(compiled.shape());
         if (form == CompiledForm::best) {
            const std::size_t most = (width == 32 ? 22 : 60) * table.size() + 4096;
            EXPECT_LE(compiled.memory().total(), most) << compiled.shape() << " of " << table.size() << " routes";
         }
         if (std::string fault = compare(compiled, table, addresses); !fault.empty()) {
            return fault;
         }
      }
      return "";
   }

   std::mt19937_64 random{seed()};
   std::set<std::string> shapes;
   std::size_t asked = 0;
};

using Tables = testing::Types<table4<U32>, table6<U32>>;
TYPED_TEST_SUITE(CompiledProperty, Tables);

TYPED_TEST(CompiledProperty, AnswersAsTheTableInAllSmallWorlds) {
   using Prefix = typename TestFixture::P;
   using Bytes = typename TestFixture::Word;
   constexpr unsigned bits = TestFixture::width;
   // Where the forms change hands: slots, blocks, the index, what is finer.
   const std::vector<unsigned> offsets =
      bits == 32 ? std::vector<unsigned>{0, 10, 16, 22, 28} : std::vector<unsigned>{0, 14, 30, 46, 62, 124};
   for (const unsigned offset : offsets) {
      const Bytes base = static_cast<Bytes>(this->anyWord() & Prefix::Bits::mask(offset));
      std::vector<Prefix> prefixes;
      for (unsigned length = 0; length <= 4; ++length) {
         for (unsigned value = 0; value < 1u << length; ++value) {
            const unsigned all = offset + length;
            prefixes.push_back(this->prefixOf(
               static_cast<Bytes>(base | (all == 0 ? Bytes{0} : static_cast<Bytes>(Bytes{value} << (bits - all)))),
               all));
         }
      }
      for (std::size_t a = 0; a < prefixes.size(); ++a) {
         for (std::size_t b = a; b < prefixes.size(); ++b) {
            for (std::size_t c = b; c < prefixes.size(); c += sized<std::size_t>(7, 5, 1)) {
               TypeParam table;
               // Two of them may have the same value.
               table.insert({prefixes[a], 1});
               table.insert({prefixes[b], 2});
               table.insert({prefixes[c], 1});
               ASSERT_EQ("", this->compareForms(table, this->borders(table)))
                  << prefixes[a] << prefixes[b] << prefixes[c];
            }
         }
      }
   }
}

// A world of so many routes, in one of several shapes.
template <class Test>
std::vector<typename Test::P> world(Test& test, unsigned shape, std::size_t size) {
   using Word = typename Test::Word;
   using Bits = typename Test::Bits;
   constexpr unsigned width = Test::width;
   std::vector<typename Test::P> routes;
   const auto add = [&](Word word, unsigned length) { routes.push_back(Test::prefixOf(word, length)); };
   const Word near = test.anyWord();
   const auto under = [&](unsigned length) {
      return static_cast<Word>((near & Bits::mask(length)) | (test.anyWord() & ~Bits::mask(length)));
   };
   while (routes.size() < size) {
      switch (shape) {
         case 0: add(test.anyWord(), width); break;
         case 1: add(test.anyWord(), static_cast<unsigned>(test.random() % (width + 1))); break;
         case 2:  // chains
            for (unsigned length = static_cast<unsigned>(test.random() % 9), end = width; length <= end; ++length) {
               add(under(length / 2), length);
            }
            break;
         case 3: add(under(width / 4), static_cast<unsigned>(width / 4 + test.random() % (width / 2))); break;
         case 4: add(under(width - 10), static_cast<unsigned>(width - test.random() % 11)); break;  // a crowd
         case 5: {  // side by side, as blocks are handed out
            const unsigned length = width == 32 ? 24 : 48;
            const Word first = test.anyWord();
            for (Word i = 0; i < 50; ++i) {
               add(static_cast<Word>(first + (i << (width - length))), length);
            }
            break;
         }
         case 6: {  // both ends of the space
            const auto length = static_cast<unsigned>(test.random() % (width + 1));
            add(test.random() % 2 != 0 ? static_cast<Word>(~Word{0}) : 0, length);
            add(static_cast<Word>(~Word{0} << (test.random() % width)), length);
            if (routes.size() >= 200) {
               return routes;
            }
            break;
         }
         default:  // few values of the first bits
            add(static_cast<Word>((test.anyWord() & Bits::mask(4)) | (under(4) & ~Bits::mask(4) & Bits::mask(16)) |
                                  (test.anyWord() & ~Bits::mask(16))),
                static_cast<unsigned>(16 + test.random() % (width / 4)));
            break;
      }
   }
   return routes;
}

TYPED_TEST(CompiledProperty, AnswersAsTheTableInRandomWorlds) {
   const std::size_t worlds = sized<std::size_t>(40, 160, 800);
   for (std::size_t i = 0; i < worlds; ++i) {
      const auto shape = static_cast<unsigned>(i % 8);
      const std::size_t size = std::size_t{1} << this->random() % sized<unsigned>(9, 12, 14);
      TypeParam table;
      U32 id = 0;
      const auto kind = this->random() % 4;
      for (const auto& p : world(*this, shape, size)) {
         ++id;
         // One value each; a few; some of the greatest; or words of all kinds.
         table.insert({p, kind == 0   ? id
                          : kind == 1 ? id % 3
                          : kind == 2 ? ~id % 8 + ~7u
                                      : static_cast<U32>(this->random())});
      }
      if (this->random() % 2 != 0) {
         table.insert({this->prefixOf(0, 0), 7});
      }
      ASSERT_EQ("", this->compareForms(table, this->borders(table)))
         << "shape " << shape << ", " << size << " routes";
   }
   const std::set<std::string> expected =
      TestFixture::width == 32 ? std::set<std::string>{"bitmap", "tree"} : std::set<std::string>{"sorted", "tree"};
   EXPECT_EQ(expected, this->shapes);
}

TYPED_TEST(CompiledProperty, AnswersAsTheTableOnAnInternetTable) {
   constexpr auto family = TestFixture::P::family;
   const PrefixList all = isFull() ? internetTable(ROUTETRIE_INTERNET_TABLE, family)
                                   : syntheticTable(family, sized<U32>(200, 20, 1), this->random());
   TypeParam table;
   U32 id = 0;
   for (const auto& p : all) {
      if constexpr (TestFixture::width == 32) {
         table.insert({p.v4Prefix(), ++id});
      } else {
         table.insert({p.v6Prefix(), ++id});
      }
   }
   EXPECT_EQ("", this->compareForms(table, this->borders(table)));
}

// No shape of a table explodes.
TYPED_TEST(CompiledProperty, StaysSmallWhereRoutesAreSpread) {
   const std::size_t size = sized<std::size_t>(2000, 100000, 100000);
   for (const unsigned shape : {0u, 1u, 2u, 3u, 7u}) {
      TypeParam table;
      U32 id = 0;
      for (const auto& p : world(*this, shape, size)) {
         table.insert({p, ++id});
      }
      const auto compiled = routetrie::compile(table);
      const std::size_t bytes = compiled.memory().total();
      EXPECT_LE(bytes, (TestFixture::width == 32 ? 22 : 60) * table.size() + 4096)
         << compiled.shape() << ", shape " << shape;
   }
}

}  // namespace CompiledTest
}  // namespace Property
