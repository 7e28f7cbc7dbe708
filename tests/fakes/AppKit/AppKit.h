// The few classes of the system's framework that the macOS side of the image bridge uses. FakeAppKit.mm
// defines them.
#ifndef TESTS_FAKES_APPKIT_APP_KIT_H
#define TESTS_FAKES_APPKIT_APP_KIT_H

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

using BOOL = signed char;
using NSUInteger = unsigned long;
using NSStringEncoding = NSUInteger;
using NSSize = CGSize;
using NSRect = CGRect;
using NSRectPointer = NSRect*;
constexpr BOOL YES = 1;
constexpr NSStringEncoding NSUTF8StringEncoding = 4;

enum NSBitmapImageFileType : NSUInteger {
    NSBitmapImageFileTypeTIFF = 0,
    NSBitmapImageFileTypeJPEG = 3,
    NSBitmapImageFileTypePNG = 4,
};

@class NSDictionary;
@class NSGraphicsContext;

__attribute__((objc_root_class))
@interface NSObject {
    Class kind;
    int references;
}
+ (id)alloc;
- (id)init;
- (void)release;
- (void)dealloc;
@end

@interface NSAutoreleasePool : NSObject
- (void)drain;
@end

@interface NSString : NSObject
- (id)initWithBytes:(const void*)bytes length:(NSUInteger)length encoding:(NSStringEncoding)encoding;
@end

@interface NSData : NSObject
- (BOOL)writeToFile:(NSString*)path atomically:(BOOL)atomically;
@end

@interface NSImage : NSObject {
    CGImageRef bitmap;
    NSSize points;
}
- (id)initWithContentsOfFile:(NSString*)path;
- (id)initWithCGImage:(CGImageRef)image size:(NSSize)size;
- (CGImageRef)CGImageForProposedRect:(NSRect*)rect
                             context:(NSGraphicsContext*)context
                               hints:(NSDictionary*)hints;
- (NSSize)size;
@end

@interface NSBitmapImageRep : NSObject {
    CGImageRef bitmap;
}
- (id)initWithCGImage:(CGImageRef)image;
- (void)setSize:(NSSize)size;
- (NSData*)representationUsingType:(NSBitmapImageFileType)type properties:(NSDictionary*)properties;
@end

#endif
