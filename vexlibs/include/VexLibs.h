/// @file
/// The support library: files by 8-bit and wide paths, file extensions, and the one place where 8-bit and
/// wide text turn into each other.
///
/// 8-bit text is UTF-8, "ANSI" text included. File names are bytes, so text that is not valid UTF-8 is kept:
/// each byte that cannot be decoded becomes one character U+DC80 to U+DCFF (0xDC00 + the byte), and such a
/// character turns back into its byte. UTF-8 to wide to UTF-8 therefore always gives the same bytes.
///
/// Where `wchar_t` has 32 bits, wide text may hold what 8-bit text cannot (numbers above U+10FFFF, other
/// surrogates): such text is refused, never altered. Where it has 16 bits (Windows), two surrogates are one
/// character, and an unpaired one has the three bytes of its number as its 8-bit form: wide to UTF-8 to wide
/// gives the same text, but for unpaired surrogates U+DC80 to U+DCFF whose bytes together are UTF-8.
#ifndef DIBSTREAM_VEXLIBS_H
#define DIBSTREAM_VEXLIBS_H

#include <cstddef>
#include <cstdio>
#include <string>

#if defined(_WIN32) && defined(DIB_BUILDS_LIBRARY)
#define VEX_EXPORT __declspec(dllexport)
#elif defined(_WIN32)
#define VEX_EXPORT
#elif defined(__GNUC__)
#define VEX_EXPORT __attribute__((visibility("default")))
#else
#define VEX_EXPORT
#endif

/// 8-bit text, UTF-8.
class VEX_EXPORT VexAnsiString {
public:
    /// The empty string.
    VexAnsiString();
    /// A copy of `text`; null is the empty string.
    explicit VexAnsiString(const char* text);

    /// The bytes with a terminator; valid as long as the object.
    const char* c_str() const;
    /// Bytes, without the terminator.
    std::size_t size() const;
    /// Whether there are none.
    bool empty() const;

private:
    std::string text_;
};

/// Wide text. Memory exhaustion throws `std::bad_alloc`.
class VEX_EXPORT VexString {
public:
    /// The empty string.
    VexString();
    /// A copy of `text`; null is the empty string.
    explicit VexString(const wchar_t* text);

    /// The characters of UTF-8 text; null is the empty string.
    static VexString fromUtf8String(const char* text);
    /// The characters of text in the platform's 8-bit encoding, which is UTF-8 here.
    static VexString fromAnsiString(const char* text);

    /// The text as UTF-8; empty when it holds a character that UTF-8 does not (see `isValid`).
    VexAnsiString toUtf8String() const;
    /// Whether every character has an 8-bit form.
    bool isValid() const;

    /// The characters with a terminator; valid as long as the object.
    const wchar_t* c_str() const;
    /// Units of `wchar_t`, without the terminator.
    std::size_t size() const;
    /// Whether there are none.
    bool empty() const;

private:
    std::wstring text_;
};

#if !defined(_WIN32)  // whose C library has these two; its `fopen_s` takes paths in the system's code page
/// Opens a file. @return 0; otherwise an `errno` value, and `*file` is null.
VEX_EXPORT int fopen_s(std::FILE** file, const char* path, const char* mode);
/// Opens a file by a wide path and mode. @return 0; otherwise an `errno` value (EILSEQ for a path that has no
/// 8-bit form), and `*file` is null.
VEX_EXPORT int _wfopen_s(std::FILE** file, const wchar_t* path, const wchar_t* mode);
#endif

/// Copies the extension of a path, without the dot, into `out`: the characters after the last dot of the last
/// path component. Components end at "/", on Windows at a backslash too. It is empty when there is none or
/// the path is null. A dot that starts a component (".profile") starts no extension.
/// @param out Room for the extension and its terminator; the length of the path always suffices. It may be
///            the path itself. Nothing happens when it is null.
VEX_EXPORT void GetFileExtension(char* out, const char* path);

#endif
