/* Fit for C++ alone. */
#ifndef FOR_C_H
#define FOR_C_H
#ifdef __cplusplus
inline int forC() { return 1; }
#endif
bool alsoForC(void);
#endif
