# Compiler settings shared by every target of the project.

# The folders that only this system's sources lie in: what POSIX systems share, and what one of them has.
if(WIN32)
    set(DIB_SYSTEM windows)
    set(DIB_PLATFORM windows)
elseif(APPLE)
    set(DIB_SYSTEM posix)
    set(DIB_PLATFORM mac)
else()
    set(DIB_SYSTEM posix)
    set(DIB_PLATFORM linux)
endif()

add_library(dib_options INTERFACE)
target_compile_features(dib_options INTERFACE cxx_std_20)
target_compile_options(dib_options INTERFACE $<$<COMPILE_LANGUAGE:OBJCXX>:-std=c++20>)
# No contraction of a * b + c: results are the same bytes with every instruction set.
# The library never reads errno after a square root; setting it would prevent vectorisation.
target_compile_options(dib_options INTERFACE -ffp-contract=off -fno-math-errno -Wall -Wextra -Wconversion -Wshadow)
# 32-bit x86: SSE2 in place of the old unit, whose longer numbers give other results, and files beyond 2 GiB.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    target_compile_definitions(dib_options INTERFACE _FILE_OFFSET_BITS=64)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86|i[3-6]86)$")
        target_compile_options(dib_options INTERFACE -msse2 -mfpmath=sse)
    endif()
endif()
if(DIB_WARNINGS_AS_ERRORS)
    target_compile_options(dib_options INTERFACE -Werror)
endif()
if(DIB_SANITIZE)
    target_compile_options(dib_options INTERFACE -fsanitize=${DIB_SANITIZE} -fno-sanitize-recover=all
                                                 -fno-omit-frame-pointer)
    target_link_options(dib_options INTERFACE -fsanitize=${DIB_SANITIZE})
endif()

# GCC 12 sees an overlap that cannot be in "text" + std::string at -O3. For targets that join many texts.
set(DIB_JOINS_TEXTS $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)

# Windows: the printf that the C++ standard describes, positions of 64 bits, wide functions, no macros min and max.
if(WIN32)
    target_compile_definitions(dib_options INTERFACE __USE_MINGW_ANSI_STDIO=1 _FILE_OFFSET_BITS=64 UNICODE _UNICODE NOMINMAX)
    # Programs need no other libraries of the compiler beside them.
    add_link_options(-static)
endif()

# The dynamic loader's name for the folder of the file that needs a library.
if(APPLE)
    set(DIB_OWN_FOLDER "@loader_path")
else()
    set(DIB_OWN_FOLDER "$ORIGIN")
endif()

# The library itself: hidden by default, vectorised in release builds.
function(dib_library_settings target)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:dib_options>)
    target_compile_definitions(${target} PRIVATE $<$<PLATFORM_ID:Windows>:DIB_BUILDS_LIBRARY>)
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release,RelWithDebInfo>:-O3>)
    set_target_properties(${target} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        OBJCXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        CXX_EXTENSIONS OFF
        POSITION_INDEPENDENT_CODE ON)
endfunction()
