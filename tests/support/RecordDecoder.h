// RecordDecoder: reads a module record byte by byte, through its pointers alone; it shares no structure with the
// generator, only the format.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace RecordDecoder {

struct Argument {
   std::string name;
   std::string typeName;
   bool operator==(const Argument&) const = default;
};

struct Field {
   unsigned id;
   unsigned shape;
   std::uint32_t flags;
   std::string name;
   int type;
   std::string keyAttribute;
   int keyType;
   unsigned position;
   std::vector<Argument> arguments;
};

struct Type {
   unsigned kind;
   std::string name;
   unsigned flags;
   unsigned count;
   int base;
   std::vector<Argument> constructorArguments;
   std::vector<Field> fields;
};

struct Referenced {
   const void* module;
   std::size_t index;
};

template <class T>
T at(const void* base, std::size_t offset) {
   T value;
   std::memcpy(&value, static_cast<const char*>(base) + offset, sizeof value);
   return value;
}

inline const char* table(const void* record, std::size_t which) { return at<const char*>(record, 8 * which); }

inline std::vector<Argument> argumentsAt(const void* record, unsigned index) {
   std::vector<Argument> arguments;
   for (const char* row = table(record, 2) + 6 * index;; row += 6) {
      const unsigned high = at<std::uint16_t>(row, 0);
      const unsigned low = at<std::uint16_t>(row, 2);
      const unsigned typeName = at<std::uint16_t>(row, 4);
      if (high == 0 && low == 0 && typeName == 0) {
         return arguments;
      }
      arguments.push_back({table(record, 4) + (high * 256 + low), table(record, 3) + typeName});
   }
}

inline Field fieldAt(const void* record, unsigned index) {
   const char* row = table(record, 1) + 24 * index;
   Field field;
   field.id = at<std::uint16_t>(row, 0);
   field.shape = at<std::uint8_t>(row, 2);
   field.flags = at<std::uint32_t>(row, 3);
   const unsigned offset = at<std::uint16_t>(row, 8) * 32U + (at<std::uint8_t>(row, 7) / 8U);
   field.name = table(record, 4) + offset;
   field.type = at<std::int16_t>(row, 10);
   field.keyAttribute = table(record, 4) + at<std::uint32_t>(row, 12);
   field.keyType = at<std::int16_t>(row, 18);
   field.position = at<std::uint16_t>(row, 20);
   // Of keyed pointers the word is the key's type.
   if (field.shape != 0x21) {
      field.arguments = argumentsAt(record, at<std::uint16_t>(row, 16));
   }
   return field;
}

inline unsigned typeCount(const void* record) { return at<std::uint16_t>(record, 56); }

inline Type typeAt(const void* record, unsigned index) {
   const char* row = table(record, 0) + 16 * index;
   Type type;
   type.kind = at<std::uint16_t>(row, 0);
   type.name = table(record, 3) + at<std::uint16_t>(row, 2) / 64;
   type.flags = at<std::uint16_t>(row, 4);
   type.count = at<std::uint16_t>(row, 6);
   type.base = at<std::int16_t>(row, 14);
   type.constructorArguments = argumentsAt(record, at<std::uint16_t>(row, 12));
   const unsigned fields = at<std::uint16_t>(row, 8);
   for (unsigned i = 0; i < fields; ++i) {
      type.fields.push_back(fieldAt(record, at<std::uint16_t>(row, 10) + i));
   }
   return type;
}

inline Referenced referencedAt(const void* record, unsigned index) {
   const char* row = table(record, 5) + 16 * index;
   return {at<const void*>(row, 0), at<std::size_t>(row, 8)};
}

// The name of a type code: "U32", or the name of the referenced type.
inline std::string typeName(const void* record, int code) {
   switch (code) {
      case -1: return "";
      case -2: return "Corvid::Node";
      case -4: return "void";
      case -5: return "U8";
      case -7: return "U16";
      case -9: return "U32";
      case -10: return "S32";
      case -13: return "bool";
      case -17: return "Corvid::String";
      default: break;
   }
   if (code < 0) {
      return "?";
   }
   const Referenced referenced = referencedAt(record, static_cast<unsigned>(code));
   return typeAt(referenced.module, static_cast<unsigned>(referenced.index)).name;
}

}  // namespace RecordDecoder
