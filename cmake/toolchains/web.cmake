# Browsers and Node, by Debian's emscripten. web/libraries/build.sh builds the libraries that the codecs and fonts need.
#
# Exceptions and setjmp become WebAssembly's own, which cost nothing until they are used; vectors have 16 bytes.
set(EMSCRIPTEN_SYSTEM_PROCESSOR wasm32)
include(/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake)
set(dib_web_flags "-fwasm-exceptions -sSUPPORT_LONGJMP=wasm -msimd128")
set(CMAKE_C_FLAGS_INIT "${dib_web_flags}")
set(CMAKE_CXX_FLAGS_INIT "${dib_web_flags}")

set(CMAKE_FIND_ROOT_PATH ${CMAKE_CURRENT_LIST_DIR}/../../build/web/root)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Its scripts take Node's fetch for a browser's, which opens no files.
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/node;--no-experimental-fetch)
