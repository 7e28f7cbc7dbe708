/* Marks of what the library exports; C and C++. */
#ifndef DIBSTREAM_DIBEXPORT_H
#define DIBSTREAM_DIBEXPORT_H

/* Programs for Windows call the library without a mark of their own: its import library has both forms. */
#if defined(_WIN32)
#if defined(DIB_BUILDS_LIBRARY)
#define DIB_EXPORT __declspec(dllexport)
#else
#define DIB_EXPORT
#endif
#define DIB_LOCAL
#elif defined(__GNUC__)
#define DIB_EXPORT __attribute__((visibility("default")))
#define DIB_LOCAL __attribute__((visibility("hidden")))
#else
#define DIB_EXPORT
#define DIB_LOCAL
#endif

#endif
