// Needs what it does not include.
#ifndef LONELY_H
#define LONELY_H
inline std::uint32_t lonely() { return 1; }
#endif
