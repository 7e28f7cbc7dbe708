// Clashes with Left.h.
#ifndef RIGHT_H
#define RIGHT_H
enum Side { kSide = 1 };
#endif
