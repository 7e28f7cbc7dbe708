#include <AppKit/AppKit.h>

#include <cstdint>

#include "tests/fakes/FakeGraphics.h"

extern "C" {
id class_createInstance(Class of, std::size_t extraBytes);
id object_dispose(id object);
const char* class_getName(Class of);
// The runtime's own tables of classes last as long as the process.
const char* __lsan_default_suppressions();
}

const char* __lsan_default_suppressions() { return "leak:libobjc"; }

namespace {

bool record(const std::string& call, const std::string& arguments) {
    return FakeFoundation::instance().record(call, arguments);
}

// The file that an encoder lends until the pool goes.
NSData* lentFile = nullptr;

void discard(NSObject* object) {
    [object dealloc];
    --FakeFoundation::instance().objects;
}

std::string sizeText(NSSize size) {
    return std::to_string(static_cast<int>(size.width)) + " x " +
           std::to_string(static_cast<int>(size.height));
}

}  // namespace

@implementation NSObject
+ (id)alloc {
    NSObject* object = class_createInstance(self, 0);
    object->references = 1;
    ++FakeFoundation::instance().objects;
    return object;
}
- (id)init {
    return self;
}
- (void)release {
    record("release", class_getName(kind));
    if (--references == 0) discard(self);
}
- (void)dealloc {
    object_dispose(self);
}
@end

@implementation NSAutoreleasePool
- (void)drain {
    record("drain", "");
    if (lentFile != nullptr) discard(lentFile);
    lentFile = nullptr;
    discard(self);
}
@end

@implementation NSString
- (id)initWithBytes:(const void*)bytes length:(NSUInteger)length encoding:(NSStringEncoding)encoding {
    std::string text(static_cast<const char*>(bytes), length);
    text += encoding == NSUTF8StringEncoding ? ", UTF-8" : ", ?";
    if (record("initWithBytes:length:encoding:", text)) return self;
    discard(self);
    return nullptr;
}
@end

@implementation NSData
- (BOOL)writeToFile:(NSString*)path atomically:(BOOL)atomically {
    return record("writeToFile:atomically:",
                  std::string(path != nullptr ? "path, " : "none, ") + (atomically ? "YES" : "NO"));
}
@end

@implementation NSImage
- (id)initWithContentsOfFile:(NSString*)path {
    bitmap = fakeFileBitmap();
    if (record("initWithContentsOfFile:", path != nullptr ? "path" : "none")) return self;
    discard(self);
    return nullptr;
}
- (id)initWithCGImage:(CGImageRef)image size:(NSSize)size {
    if (!record("initWithCGImage:size:", nameOf(image) + ", " + sizeText(size))) {
        discard(self);
        return nullptr;
    }
    bitmap = image;
    points = size;
    retained(*reinterpret_cast<FakeObject*>(image));
    return self;
}
- (CGImageRef)CGImageForProposedRect:(NSRect*)rect
                             context:(NSGraphicsContext*)context
                               hints:(NSDictionary*)hints {
    const bool none = rect == nullptr && context == nullptr && hints == nullptr;
    return record("CGImageForProposedRect:context:hints:", none ? "none, none, none" : "?") ? bitmap
                                                                                            : nullptr;
}
- (NSSize)size {
    record("size", "");
    return points;
}
- (void)dealloc {
    if (bitmap != nullptr && bitmap != fakeFileBitmap()) released(bitmap);
    [super dealloc];
}
@end

@implementation NSBitmapImageRep
- (id)initWithCGImage:(CGImageRef)image {
    if (!record("initWithCGImage:", nameOf(image))) {
        discard(self);
        return nullptr;
    }
    bitmap = image;
    retained(*reinterpret_cast<FakeObject*>(image));
    return self;
}
- (void)setSize:(NSSize)size {
    record("setSize:", sizeText(size));
}
- (NSData*)representationUsingType:(NSBitmapImageFileType)type properties:(NSDictionary*)properties {
    if (!record("representationUsingType:properties:",
                std::to_string(type) + (properties == nullptr ? ", none" : ", ?"))) {
        return nullptr;
    }
    fakeEncode();
    return lentFile = [[NSData alloc] init];
}
- (void)dealloc {
    if (bitmap != nullptr) released(bitmap);
    [super dealloc];
}
@end
