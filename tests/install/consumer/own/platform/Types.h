// The consumer's own header: the library has one of this name in its folder.
#pragma once

struct OwnType {
   int number = 7;
};
