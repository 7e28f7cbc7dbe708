// Every public header, and calls that need VexLibs, on the library's name alone.
#include <DibCocoaUtil.h>
#include <DibCodec.h>
#include <DibColor.h>
#include <DibEffect.h>
#include <DibMedian.h>
#include <DibPSDLoader.h>
#include <DibPlugin.h>
#include <DibRgbe.h>
#include <DibStream.h>
#include <VexLibs.h>
#include <dibstream.h>

extern const void* const declarations[];

int main() {
    DibStream image;
    const VexString path = VexString::fromUtf8String("no-such-file");
    if (DibCocoaUtil::LoadImageFile(path, &image)) return 1;
    if (LoadDDS(path.c_str(), &image, nullptr, nullptr)) return 2;
    if (declarations[0] == nullptr) return 3;
    return image.Create(3, 2, 8) ? 0 : 4;
}
