// All that a bench needs: pictures, files and cases that every program shares.
#ifndef BENCH_HARNESS_HARNESS_H
#define BENCH_HARNESS_HARNESS_H

#include "bench/harness/Cases.h"
#include "bench/harness/Files.h"
#include "bench/harness/Pictures.h"

#endif
