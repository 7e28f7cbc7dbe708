/* The header of the tree of offences. */
#ifndef OFFENCES_DIBSTREAM_H
#define OFFENCES_DIBSTREAM_H
typedef enum dib_sides { DIB_C_LEFT = 1, DIB_C_RIGHT = 0 } dib_sides;
typedef struct dib_pair {
    char first;
    char inserted;
    int second;
    int added;
} dib_pair;
int dib_kept(void);
long dib_changed(int);
int dib_added(dib_pair*);
#endif
