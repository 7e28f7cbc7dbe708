// What the functions that take a format and arguments tell the compiler.
#ifndef FORMATS_PRINTF_FORMAT_H
#define FORMATS_PRINTF_FORMAT_H

// The attribute's name for the formats of the C++ standard. MinGW's GCC means others by the common
// name.
#if defined(__MINGW32__) && !defined(__clang__)
#define DIB_PRINTF gnu_printf
#else
#define DIB_PRINTF printf
#endif

#endif
