// Module: the record by which a source module makes its types known, and the registry of all records that are loaded.
//
// A record is constant data, made by the compiler (routetrie/platform/Corvid/ModuleTables.h). Words are in the machine's byte order.
//
//    module record, 80 bytes                        type row, 16 bytes
//      0  type table                                  0  kind: 0x40 class, 0x140 class with abstract operations, 1 value
//      8  field table                                 2  name, an offset in the pool, shifted left by 6
//     16  argument table                              4  flags
//     24  pool of type names                          6  number of the constructor's arguments
//     32  pool of field names                         8  number of fields
//     40  table of referenced types                  10  index of the first field
//     48  table of per-type functions                12  index of the constructor's first argument
//     56  number of types, then 1                    14  base: a referenced type, -2 Corvid::Node, -1 none
//
//    field row, 24 bytes                            argument row, 6 bytes; an all-zero row ends a list
//      0  field id                                    0  high byte of the name's offset
//      2  shape                                       2  its low byte
//      3  flags, 4 bytes                              4  offset of its type's name
//      7  top 5 bits: the low bits of the name's offset in the pool; the other bits of it are at 8
//     10  type: a referenced type, or a negative built-in code
//     12  of a keyed collection of objects, the offset of the name of the attribute that holds the key
//     16  index of an operation's first argument; of keyed pointers, the key's type
//     18  type of the key, -1 for none
//     20  position of the stored member in the object in bytes, 0xFFFF for none
//
// Both pools hold names that end in NUL. The pool of type names opens with the module's name, that of field names with
// the empty name, so that no field or argument has offset 0.
// Tested by tests/platform/Corvid/InspectTest.cpp and, byte by byte, by tests/trie/ModuleRecordTest.cpp.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace Corvid {
struct FieldDescriptor;
}

namespace Tesk {

using S16 = std::int16_t;

enum class Shape : U8 {
   value = 0x00,
   keyedValues = 0x01,
   queue = 0x03,
   constOperation = 0x10,
   operation = 0x11,
   pointer = 0x20,
   keyedPointers = 0x21,
   keyedPointerOperation = 0x31,
};

// Built-in types, where a row's type is negative.
enum class TypeCode : S16 {
   none = -4,
   u8 = -5,
   u16 = -7,
   u32 = -9,
   s32 = -10,
   boolean = -13,
   string = -17,
};

constexpr S16 baseIsNode = -2;
constexpr S16 noType = -1;
constexpr U16 noPosition = 0xFFFF;

enum TypeKind : U16 { kindValue = 0x01, kindClass = 0x40, kindAbstractClass = 0x140 };

enum TypeFlag : U16 {
   typeConstructible = 0x1,  // constructFromCtorArgs is there
   typeIterable = 0x2,       // iterator is there
};

// Bits of a field's flags. Bit k for k up to 12, and bit 28, tell that access kind k is taken.
enum FieldFlag : U32 {
   fieldAccessMask = 0x10001FFF,
   fieldPublished = 1U << 13,
   fieldConstructorArgument = 1U << 14,
   fieldInstantiating = 1U << 15,
};

struct TypeRow {
   U16 kind;
   U16 name;
   U16 flags;
   U16 constructorArguments;
   U16 fields;
   U16 firstField;
   U16 firstConstructorArgument;
   S16 base;

   constexpr std::size_t nameOffset() const noexcept { return std::size_t{name} >> 6; }
};
static_assert(sizeof(TypeRow) == 16);

struct FieldRow {
   U16 id;
   Shape shape;
   U8 flagBytes[4];  // the least significant first
   U8 nameLow;
   U16 nameHigh;
   S16 type;
   U32 keyAttribute;
   U16 firstArgument;
   S16 keyType;
   U16 position;
   U16 zero;

   constexpr std::size_t nameOffset() const noexcept { return (std::size_t{nameHigh} << 5) | (nameLow >> 3); }
   constexpr U32 flags() const noexcept {
      return flagBytes[0] | (U32{flagBytes[1]} << 8) | (U32{flagBytes[2]} << 16) | (U32{flagBytes[3]} << 24);
   }
};
static_assert(sizeof(FieldRow) == 24 && offsetof(FieldRow, nameHigh) == 8 && offsetof(FieldRow, keyAttribute) == 12);

struct ArgumentRow {
   U16 nameHigh;
   U16 nameLow;
   U16 typeName;

   constexpr std::size_t nameOffset() const noexcept { return (std::size_t{nameHigh} << 8) | nameLow; }
   constexpr bool endsList() const noexcept { return nameHigh == 0 && nameLow == 0 && typeName == 0; }
};
static_assert(sizeof(ArgumentRow) == 6);

struct ModuleInspectData;

// A type, wherever it is defined.
struct ReferencedType {
   const ModuleInspectData* module;
   std::size_t index;
};
static_assert(sizeof(ReferencedType) == 16);

struct GenericIterator;
struct ValueFunctions;

// See routetrie/platform/Corvid/ModuleTables.h for what each is given and gives.
using InspectFunction = U8 (*)(void* result, void* object, const Corvid::FieldDescriptor* field, U16 fieldIndex,
                               U8 accessKind, const void* keyOrValue, const void* const* arguments);
using ConstructFunction = void (*)(void* out, const void* const* arguments);
using IteratorFunction = GenericIterator* (*)(const void* object, const Corvid::FieldDescriptor* field,
                                              const void* key);

struct TypeFunctions {
   const ValueFunctions* value;  // of a value type; null for a class
   const void* unused;
   const void* pointerInterface;  // of a class; null for a value type
   ConstructFunction constructFromCtorArgs;
   InspectFunction inspect;
   IteratorFunction iterator;
};
static_assert(sizeof(TypeFunctions) == 6 * sizeof(void*));

struct ROUTETRIE_EXPORT ModuleInspectData {
   const TypeRow* types;
   const FieldRow* fields;
   const ArgumentRow* arguments;
   const char* typeNames;
   const char* fieldNames;
   const ReferencedType* referenced;
   const TypeFunctions* functions;
   U16 typeCount;
   U16 one;
   U8 padding[20];

   // Announces the record, which must live as long as the process; each module does so at load time. May be called by
   // any thread; announcing a record again changes nothing.
   void loaded() const;
};
static_assert(sizeof(ModuleInspectData) == 80);

// The records announced so far, in the order of their names.
ROUTETRIE_EXPORT std::vector<const ModuleInspectData*> modules();

// The iterators of reflection: what genericIfIterator gives for a collection, at its start or at a key. Made in memory of
// the slab; iterDel ends one.
struct IteratorFunctions {
   void (*iterKey)(const GenericIterator& iterator, void* key);     // constructs the key at that place
   void (*iterObj)(const GenericIterator& iterator, void* result);  // the member, encoded as a get of it is
   void (*iterInc)(GenericIterator& iterator);
   bool (*iterNonnull)(const GenericIterator& iterator);  // false at the end
   void (*iterDel)(GenericIterator* iterator);
};
struct GenericIterator {
   const IteratorFunctions* functions;
};

}  // namespace Tesk
