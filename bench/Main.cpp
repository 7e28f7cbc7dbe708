#include "bench/Bench.h"

int main(int argc, char** argv) { return pb::benchMain(argc, argv); }
