#!/usr/bin/env bash
# The zip file for Windows is all that a program needs: the first one of README.md is built against it, by the compiler
# alone and by CMake, and writes what the same program writes here.
# usage: windows-package.sh SOURCE BUILD NATIVE_BUILD WORK     NATIVE_BUILD has the library and the tool of this machine
set -euo pipefail
source="$1" build="$2" native="$3" work="$4"
wine="$source/scripts/wine.sh"
compiler=x86_64-w64-mingw32-g++-posix
rm -rf "$work"
mkdir -p "$work/packages" "$work/unpacked"
cd "$work"

cpack --config "$build/CPackConfig.cmake" -B "$work/packages" >cpack.log
(cd unpacked && cmake -E tar xf "$work"/packages/dibstream-*.zip)
prefix="$(echo "$work"/unpacked/dibstream-*)"
for file in bin/dib.exe lib/dibstream/plugins/vexlibdds.bundle bin/libdibstream.dll bin/libVexLibs.dll lib/libdibstream.dll.a lib/libVexLibs.dll.a \
    include/dibstream/DibFile.h include/dibstream/VexLibs.h include/dibstream.h \
    lib/cmake/DibStream/DibStreamConfig.cmake; do
    [ -s "$prefix/$file" ] || { echo "the zip file has no $file"; exit 1; }
done
# What the files need is the system's own.
needed="$(find "$prefix" -name '*.dll' -o -name '*.exe' -o -name '*.bundle' |
    xargs -n 1 x86_64-w64-mingw32-objdump -p | awk '/DLL Name/ { print tolower($3) }' | sort -u)"
if grep -E '^lib(stdc|gcc|winpthread)' <<<"$needed"; then
    echo "the zip file needs libraries of the compiler"
    exit 1
fi

program="$source/examples/first_program"
"$compiler" -std=c++17 "$program/main.cpp" -I"$prefix/include/dibstream" -L"$prefix/lib" -ldibstream -o by-compiler.exe
mkdir project
cp "$program/main.cpp" project/
cat >project/CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.22)
project(first LANGUAGES CXX)
find_package(DibStream REQUIRED)
add_executable(first_program main.cpp)
target_link_libraries(first_program PRIVATE DibStream::dibstream)
END
cmake -S project -B by-cmake -G Ninja -DCMAKE_TOOLCHAIN_FILE="$source/cmake/toolchains/windows.cmake" \
    -DDibStream_DIR="$prefix/lib/cmake/DibStream" >cmake.log
cmake --build by-cmake >>cmake.log
c++ -std=c++17 "$program/main.cpp" -I"$source/include" -I"$source/vexlibs/include" -L"$native" -L"$native/vexlibs" \
    -ldibstream -lVexLibs -Wl,-rpath,"$native:$native/vexlibs" -o here

dib="$native/tools/dib"
sample="$(find "$native" -name make_sample_picture -type f | head -n 1)"
"$sample" 320 240 photo.bmp
for format in jpg png tif tga; do "$dib" run photo.bmp "photo.$format"; done
"$dib" run photo.bmp bpp:8 grey.jpg

export WINEPATH="$prefix/bin"
"$wine" "$prefix/bin/dib.exe" formats | grep -q '^dds ' || { echo "the program does not find its plug-in"; exit 1; }
failed=0
for picture in photo.bmp photo.png photo.tif photo.tga grey.jpg photo.jpg; do
    ./here "$picture" here.bmp
    for made in by-compiler.exe by-cmake/first_program.exe; do
        rm -f there.bmp
        "$wine" "$made" "$picture" there.bmp
        if cmp -s here.bmp there.bmp; then
            echo "$made: $picture gives the same palette picture, byte for byte"
        else
            echo "$made: $picture gives another palette picture: $(cmp -l here.bmp there.bmp | wc -l) bytes"
            # The system's JPEG decoder fills in colours that are stored at half size in its own way.
            [ "$picture" = photo.jpg ] || failed=1
        fi
    done
done
exit "$failed"
