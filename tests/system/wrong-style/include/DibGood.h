// Nothing to find: the two are told apart.
#ifndef DIBSTREAM_DIBGOOD_H
#define DIBSTREAM_DIBGOOD_H
#endif
