/// @file
/// The instructions of the processor that loops over pixels use.
///
/// The library chooses the best level of the machine. Every level gives the same bytes, so a lower one only
/// serves to measure it, or to find out whether a processor is at fault.
#ifndef DIBSTREAM_DIBKERNELS_H
#define DIBSTREAM_DIBKERNELS_H

#include <DibExport.h>

/// Limits the instructions in use to those of a level, for the whole process and until the next call.
/// @param level "baseline": what every processor of the architecture has; "avx2" and "avx512": of x86-64.
///   A level above the best of the machine means that best one.
/// @return False, with the level unchanged, when no level has the name.
///
/// Threads: may be called at any time. Calls that run meanwhile go on at either level.
DIB_EXPORT bool DibLimitKernels(const char* level);

/// The name of the level in use.
DIB_EXPORT const char* DibKernelsInUse();

#endif
