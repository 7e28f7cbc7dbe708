#ifndef EFFECTS_OTHER_H
#define EFFECTS_OTHER_H
#endif
