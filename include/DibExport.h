/* Marks of what the library exports; C and C++. */
#ifndef DIBSTREAM_DIBEXPORT_H
#define DIBSTREAM_DIBEXPORT_H

#if defined(__GNUC__)
#define DIB_EXPORT __attribute__((visibility("default")))
#define DIB_LOCAL __attribute__((visibility("hidden")))
#else
#define DIB_EXPORT
#define DIB_LOCAL
#endif

#endif
