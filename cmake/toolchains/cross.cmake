# One of Debian's cross compilers. scripts/elsewhere.sh unpacks the libraries and runs what is built. The file of a
# target sets:
#   dib_target     its name: the preset, and the folder of its libraries
#   dib_processor  the processor, as CMake names it
#   dib_compiler   what the compiler's name starts with
#   dib_libraries  the name of the folder that its libraries lie in
#   dib_emulator   the program that runs what is built
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${dib_processor})
set(CMAKE_C_COMPILER ${dib_compiler}-gcc)
set(CMAKE_CXX_COMPILER ${dib_compiler}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${dib_libraries})

set(dib_root ${CMAKE_CURRENT_LIST_DIR}/../../build/elsewhere/${dib_target}/root)
set(CMAKE_FIND_ROOT_PATH ${dib_root})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_EXE_LINKER_FLAGS_INIT
    "-Wl,-rpath-link,${dib_root}/usr/lib/${dib_libraries}:${dib_root}/lib/${dib_libraries}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${CMAKE_EXE_LINKER_FLAGS_INIT}")
set(CMAKE_CROSSCOMPILING_EMULATOR ${dib_emulator} -L ${dib_root})
