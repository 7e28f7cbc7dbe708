// Clashes with Right.h.
#ifndef LEFT_H
#define LEFT_H
#include <cstdint>
enum Side { kSide = 1 };
#endif
