/* What tests in C check with: a failed check fails the GoogleTest case that calls them. */
#ifndef TESTS_C_CHECKS_H
#define TESTS_C_CHECKS_H

#include <dibstream.h>

#ifdef __cplusplus
extern "C" {
#endif

#define CHECK(condition) checkInC((condition) ? 1 : 0, #condition, __FILE__, __LINE__)

void checkInC(int holds, const char* condition, const char* file, int line);

/* The path of a temporary file, valid until the next call. */
const char* temporaryFile(const char* name);

/* Every test in C; Tests.cpp runs them. */
#define TESTS_IN_C(test)                                                                                    \
    test(newImagesAreBlank) test(imagesRefuse) test(rowsCountFromTheTop) test(wrapsAreNeverFreed)           \
        test(wrapsRefuse) test(clonesAreIndependent) test(palettes) test(palettesRefuse) test(formats)      \
            test(versionsAndCodes) test(pluginFolder) test(files) test(memoryBlocks) test(streams)          \
                test(functions) test(probes) test(losses) test(notes) test(progressAndCancel)               \
                    test(loadOptions) test(damagedFiles) test(loadsRefuse) test(operations)                 \
                        test(descriptions) test(chains) test(wrongChains) test(chainsOnWraps)               \
                            test(cancelledChains) test(secondPictures) test(savesRefuse) test(wrongSizes)   \
                                test(nullArguments) test(timFilesKeepTheirFrame)                            \
                                    test(namesOfPartsAreRefused) test(classicChains) test(paletteFiles)     \
                                        test(paletteFilesRefuse) test(layersOfDocuments) test(layersRefuse) \
                                            test(differences) test(differencesOfChains)                     \
                                                test(turnsExchangeAxes) test(resultsOfOlderPrograms)        \
                                                    test(transparentEntries) test(montages)                 \
                                                        test(montagesRefuse) test(colors)
#define DECLARE_TEST_IN_C(name) void name(void);
TESTS_IN_C(DECLARE_TEST_IN_C)

/* A block that is freed by `dib_free`. */
typedef struct Block {
    void* bytes;
    size_t size;
} Block;

/* A new image of 3 x 2 pixels whose bytes count from 1 on; never null unless memory is short. */
dib_image* countedImage(int bitCount, int rowOrder);
/* The image as a file in memory. */
Block encoded(const dib_image* image, const char* format);
/* A document of 5 x 4 pixels with two layers, "sky" and "roof", of which the second has a mask. */
Block document(void);
/* A progress callback that cancels at its second call; counts the calls in an int. */
bool cancelSecond(float fraction, void* calls);
/* Whether two images have the same size, depth and pixels, palette included. */
int isSameImage(const dib_image* a, const dib_image* b);

/* What fails when memory is short: each returns its code and releases what it made. */
dib_code makeInC(void);
dib_code wrapInC(void);
dib_code cloneInC(const dib_image* image);
dib_code setPaletteInC(dib_image* image);
dib_code loadInC(const Block* file);
dib_code probeInC(const Block* file);
dib_code saveInC(const dib_image* image);
dib_code setFolderInC(void);
dib_code applyInC(dib_image* image);
dib_code describeInC(void);
dib_code compareInC(const dib_image* image);
dib_code montageInC(const dib_image* image);
dib_code probeLayersInC(const Block* file);

#ifdef __cplusplus
}
#endif

#endif
