/* Tests in C of the codecs that are the library's own on this system. */
#ifndef TESTS_C_LINUX_CODECS_H
#define TESTS_C_LINUX_CODECS_H

#ifdef __cplusplus
extern "C" {
#endif

void probesOfPalettes(void);
void metadataGoesAlong(void);
void leastSizes(void);

#ifdef __cplusplus
}
#endif

#endif
