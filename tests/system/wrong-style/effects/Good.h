#ifndef EFFECTS_GOOD_H
#define EFFECTS_GOOD_H
#endif
