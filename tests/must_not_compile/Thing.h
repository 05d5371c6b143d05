// Thing: a class to describe wrongly.
#pragma once

#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/ModuleTables.h"

class Thing;
class Other;
ROUTETRIE_MODULE(_Thing_00112233445566ff_teskModule, Thing)

class Other : public Corvid::Node {
  public:
   U32 foreign() const { return 1; }
};

class Thing : public Corvid::Node {
  public:
   U32 size() const { return size_; }
   void sizeIs(U32 size) { size_ = size; }
   void nameIs(const Corvid::String&) {}
   U32 sum(U32 a, U32 b) const { return a + b; }
   void reset() { size_ = 0; }
   Other* other() const { return nullptr; }

  private:
   U32 size_ = 0;
};
