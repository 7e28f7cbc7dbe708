// The few declarations of the system's framework that the macOS side of the plug-in loader uses, with the
// types that it gives them, so that the side compiles and can be watched elsewhere. FakeFoundation.cpp
// defines them.
#ifndef TESTS_FAKES_COREFOUNDATION_CORE_FOUNDATION_H
#define TESTS_FAKES_COREFOUNDATION_CORE_FOUNDATION_H

#include <cstdint>

using Boolean = unsigned char;
using UInt8 = unsigned char;
using CFIndex = long;
using CFStringEncoding = std::uint32_t;
using CFTypeRef = const void*;
using CFAllocatorRef = const struct __CFAllocator*;
using CFURLRef = const struct __CFURL*;
using CFStringRef = const struct __CFString*;
using CFBundleRef = struct __CFBundle*;

constexpr CFAllocatorRef kCFAllocatorDefault = nullptr;
constexpr CFStringEncoding kCFStringEncodingUTF8 = 0x08000100;

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* buffer,
                                                 CFIndex length, Boolean isDirectory);
CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef url);
Boolean CFBundleLoadExecutable(CFBundleRef bundle);
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding);
void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name);
void CFRelease(CFTypeRef object);

#endif
