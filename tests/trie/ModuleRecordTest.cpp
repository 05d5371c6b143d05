// The bytes of each module record, as tests/golden/modules has them, read by a decoder that knows the format alone. After
// a wanted change, ROUTETRIE_UPDATE_GOLDEN=1 writes the files anew.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include "routetrie/platform/Corenet/Module.h"
#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/platform/Keel/Module.h"
#include "routetrie/platform/Vrf/Module.h"
#include "routetrie/trie/front/Trie6Module.h"
#include "routetrie/trie/front/TrieCompactModule.h"
#include "routetrie/trie/front/TrieGenModule.h"
#include "routetrie/trie/front/TrieWalkPrefixModule.h"
#include "routetrie/trie/front/TrieWrapperModule.h"
#include "routetrie/trie/intrusive/Ipv6TrieModule.h"
#include "routetrie/trie/intrusive/Ipv6TrieRouteModule.h"
#include "routetrie/trie/multibit/TrieModule.h"
#include "routetrie/trie/patricia/PatriciaTrieDataModule.h"
#include "routetrie/trie/patricia/PatriciaTrieModule.h"
#include "routetrie/trie/patricia/PatriciaTrieWithCompactNodeDataModule.h"
#include "routetrie/trie/patricia/PatriciaTrieWithNodeDataModule.h"
#include "tests/support/RecordDecoder.h"

namespace ModuleRecordTest {

struct Record {
   const char* symbol;
   const Tesk::ModuleInspectData& data;
};

#define RECORD(symbol) \
   Record { #symbol, symbol }

const Record records[] = {
   RECORD(_Corenet_2f6c1f5a0d7be943_teskModule),
   RECORD(_Keel_81d3e06a5c94b27f_teskModule),
   RECORD(_Ipv6Trie_49b08d217c477b09_teskModule),
   RECORD(_Ipv6TrieRoute_a7017bad99aaa188_teskModule),
   RECORD(_Trie_592af94aa7c357bd_teskModule),
   RECORD(_Trie6_1ac275be1db58207_teskModule),
   RECORD(_TrieCompact_5440f3a2dc7affb3_teskModule),
   RECORD(_TrieGen_7a6fe44fbc33ae9a_teskModule),
   RECORD(_TrieWalkPrefix_5da68c166fcc9479_teskModule),
   RECORD(_TrieWrapper_5c471ef93aaae99a_teskModule),
   RECORD(_PatriciaTrie_32e6140574244a09_teskModule),
   RECORD(_PatriciaTrieData_936c190e48e66e7c_teskModule),
   RECORD(_PatriciaTrieWithNodeData_d21198fd3a2dd5d2_teskModule),
   RECORD(_PatriciaTrieWithCompactNodeData_3b5ccd3c60aee402_teskModule),
   RECORD(_Vrf_c40b97e2135fd868_teskModule),
};

std::string hex(const char* bytes, std::size_t count) {
   std::ostringstream out;
   out << std::hex << std::setfill('0');
   for (std::size_t i = 0; i < count; ++i) {
      out << (i == 0 ? "" : " ") << std::setw(2) << static_cast<unsigned>(static_cast<unsigned char>(bytes[i]));
   }
   return out.str();
}

std::string list(const std::vector<RecordDecoder::Argument>& arguments) {
   std::string text = "(";
   for (const auto& argument : arguments) {
      text += (text.size() == 1 ? "" : ", ") + argument.typeName + " " + argument.name;
   }
   return text + ")";
}

// All of a record, its tables and pools in hexadecimal beside what they mean. Pointers are not shown: what they point to is.
std::string dump(const void* record) {
   using namespace RecordDecoder;
   std::ostringstream out;
   out << "module " << table(record, 3) << ", " << typeCount(record) << " types, then "
       << hex(static_cast<const char*>(record) + 56, 24) << "\n";
   int references = 0;
   for (unsigned i = 0; i < typeCount(record); ++i) {
      const Type type = typeAt(record, i);
      out << "\ntype " << i << ": " << hex(table(record, 0) + 16 * i, 16) << "\n   " << type.name
          << list(type.constructorArguments) << (type.base == -1 ? "" : " under " + typeName(record, type.base))
          << "\n";
      references = std::max(references, type.base + 1);
      const char* functions = table(record, 6) + 48 * i;
      out << "   functions:";
      for (unsigned f = 0; f < 6; ++f) {
         out << (at<const void*>(functions, 8 * f) == nullptr ? " -" : " x");
      }
      out << "\n";
      const unsigned first = at<std::uint16_t>(table(record, 0) + 16 * i, 10);
      for (unsigned f = 0; f < type.fields.size(); ++f) {
         const Field& field = type.fields[f];
         references = std::max({references, field.type + 1, field.keyType + 1});
         out << "   " << hex(table(record, 1) + 24 * (first + f), 24) << "\n      " << field.id << " "
             << typeName(record, field.type) << " " << field.name << list(field.arguments);
         if (field.keyType != -1) {
            out << " by " << typeName(record, field.keyType);
         }
         if (!field.keyAttribute.empty()) {
            out << " in " << field.keyAttribute;
         }
         out << "\n";
      }
   }
   out << "\nreferenced types\n";
   for (int i = 0; i < references; ++i) {
      const Referenced referenced = referencedAt(record, static_cast<unsigned>(i));
      out << "   " << i << ": " << table(referenced.module, 3) << " " << referenced.index << " "
          << typeAt(referenced.module, static_cast<unsigned>(referenced.index)).name << "\n";
   }
   return out.str();
}

class ModuleRecord : public testing::TestWithParam<Record> {};

TEST_P(ModuleRecord, HasTheGoldenBytes) {
   const std::string path = std::string(ROUTETRIE_SOURCE_DIR "/tests/golden/modules/") + GetParam().symbol + ".txt";
   const std::string made = dump(&GetParam().data);
   if (std::getenv("ROUTETRIE_UPDATE_GOLDEN") != nullptr) {
      std::ofstream(path) << made;
   }
   std::ifstream file(path);
   std::stringstream golden;
   golden << file.rdbuf();
   EXPECT_EQ(made, golden.str()) << "in " << path;
}

TEST_P(ModuleRecord, IsAnnouncedUnderItsName) {
   const std::string symbol = GetParam().symbol;
   bool found = false;
   for (const auto& module : Corvid::Inspect::modules()) {
      found = found ||
              (&module.record() == &GetParam().data && module.name() == symbol.substr(1, symbol.find('_', 1) - 1));
   }
   EXPECT_TRUE(found);
}

// The client reads the same out of it as the decoder that was written apart from it.
TEST_P(ModuleRecord, SaysTheSameToTheDecoderAndToTheClient) {
   const auto& record = GetParam().data;
   const Corvid::Inspect::Module module(record);
   ASSERT_EQ(RecordDecoder::typeCount(&record), module.types().size());
   for (const auto& type : module.types()) {
      const auto decoded = RecordDecoder::typeAt(&record, type.index());
      EXPECT_EQ(decoded.name, type.name());
      EXPECT_EQ(decoded.kind == 1, !type.isClass());
      EXPECT_EQ(decoded.kind == 0x140, type.isAbstract());
      EXPECT_EQ(RecordDecoder::typeName(&record, decoded.base), type.base()      ? type.base()->name()
                                                                : type.isClass() ? "Corvid::Node"
                                                                                 : "");
      ASSERT_EQ(decoded.fields.size(), type.fields().size());
      for (const auto& field : type.fields()) {
         const auto& other = decoded.fields[field.index()];
         EXPECT_EQ(other.name, field.name());
         EXPECT_EQ(other.id, field.id());
         EXPECT_EQ(other.shape, static_cast<unsigned>(field.shape()));
         EXPECT_EQ(RecordDecoder::typeName(&record, other.type), field.typeName()) << field.name();
         EXPECT_EQ(RecordDecoder::typeName(&record, other.keyType), field.keyTypeName()) << field.name();
         EXPECT_EQ(other.keyAttribute, field.keyAttribute());
         ASSERT_EQ(other.arguments.size(), field.parameters().size()) << field.name();
         for (std::size_t i = 0; i < other.arguments.size(); ++i) {
            EXPECT_EQ(other.arguments[i].name, field.parameters()[i].name);
            EXPECT_EQ(other.arguments[i].typeName, field.parameters()[i].typeName);
         }
      }
   }
}

INSTANTIATE_TEST_SUITE_P(All, ModuleRecord, testing::ValuesIn(records),
                         [](const auto& test) { return std::string(test.param.symbol).substr(1); });

TEST(ModuleRecords, EachRecordThatIsLoadedIsOneOfThese) {
   for (const auto& module : Corvid::Inspect::modules()) {
      bool known = false;
      for (const Record& record : records) {
         known = known || &record.data == &module.record();
      }
      EXPECT_TRUE(known) << module.name();
   }
}

}  // namespace ModuleRecordTest
