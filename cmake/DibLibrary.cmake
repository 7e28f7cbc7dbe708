# The image library. Each folder is a layer; CMake finds new source files by itself.

if(APPLE)
    enable_language(OBJCXX)
endif()

file(GLOB dib_sources CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/c/*.cpp
    ${PROJECT_SOURCE_DIR}/dib/*.cpp
    ${PROJECT_SOURCE_DIR}/dib/${DIB_SYSTEM}/*.cpp
    ${PROJECT_SOURCE_DIR}/dib/${DIB_PLATFORM}/*.cpp
    ${PROJECT_SOURCE_DIR}/geometry/*.cpp
    ${PROJECT_SOURCE_DIR}/effects/*.cpp
    ${PROJECT_SOURCE_DIR}/effects/*/*.cpp
    ${PROJECT_SOURCE_DIR}/formats/*.cpp
    ${PROJECT_SOURCE_DIR}/formats/diagnosis/*.cpp
    ${PROJECT_SOURCE_DIR}/formats/door/*.cpp
    ${PROJECT_SOURCE_DIR}/formats/psd/*.cpp
    ${PROJECT_SOURCE_DIR}/formats/${DIB_PLATFORM}/*.cpp
    ${PROJECT_SOURCE_DIR}/formats/${DIB_PLATFORM}/*.mm)
list(REMOVE_DUPLICATES dib_sources)
# Sources in a folder web/ replace those of Linux: all else that browsers have is the same.
function(dib_replace_for_web sources layer)
    if(EMSCRIPTEN)
        file(GLOB replacements CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${layer}/web/*.cpp)
        string(REPLACE /${layer}/web/ /${layer}/linux/ replaced "${replacements}")
        list(REMOVE_ITEM ${sources} ${replaced})
        set(${sources} ${${sources}} ${replacements} PARENT_SCOPE)
    endif()
endfunction()
dib_replace_for_web(dib_sources formats)
file(GLOB operation_sources CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/operations/*.cpp
    ${PROJECT_SOURCE_DIR}/operations/pixels/*.cpp
    ${PROJECT_SOURCE_DIR}/operations/rows/*.cpp)
file(GLOB diagnosis_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/formats/diagnosis/*.cpp)
set(DIB_OPTIONAL_LIBRARIES "")
# Letters from the files of fonts, where FreeType is installed. Its headers are for one source alone.
find_package(Freetype 2.10)
if(TARGET Freetype::Freetype)
    list(APPEND operation_sources ${PROJECT_SOURCE_DIR}/operations/fonts/Freetype.cpp)
    set_property(SOURCE ${PROJECT_SOURCE_DIR}/operations/fonts/Freetype.cpp APPEND PROPERTY INCLUDE_DIRECTORIES
        ${FREETYPE_INCLUDE_DIRS})
    list(APPEND DIB_OPTIONAL_LIBRARIES $<LINK_ONLY:Freetype::Freetype>)
else()
    list(APPEND operation_sources ${PROJECT_SOURCE_DIR}/operations/fonts/NoFreetype.cpp)
endif()
# Unpacking of zlib streams, where zlib is installed. Windows has none of its own, and one more DLL would be in the way.
if(WIN32)
    set(ZLIB_USE_STATIC_LIBS ON)
endif()
find_package(ZLIB)
if(TARGET ZLIB::ZLIB)
    list(APPEND dib_sources ${PROJECT_SOURCE_DIR}/formats/zlib/Inflater.cpp)
    list(APPEND DIB_OPTIONAL_LIBRARIES $<LINK_ONLY:ZLIB::ZLIB>)
else()
    list(APPEND dib_sources ${PROJECT_SOURCE_DIR}/formats/zlib/NoZlib.cpp)
endif()
set_source_files_properties(${operation_sources} ${diagnosis_sources} PROPERTIES COMPILE_OPTIONS "${DIB_JOINS_TEXTS}")

# The header of C programs has the version too; the two are compared.
set_property(SOURCE ${PROJECT_SOURCE_DIR}/c/Version.cpp APPEND PROPERTY COMPILE_DEFINITIONS
    DIB_PROJECT_VERSION="${PROJECT_VERSION}")

# Replacing files: the only internal code that the library and the program dib share.
file(GLOB file_sources CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/files/${DIB_SYSTEM}/*.cpp
    ${PROJECT_SOURCE_DIR}/files/${DIB_PLATFORM}/*.cpp)
list(REMOVE_DUPLICATES file_sources)
dib_replace_for_web(file_sources files)
list(FILTER file_sources EXCLUDE REGEX "/Program[A-Za-z]*.cpp$")  # what only the program needs
add_library(dib_files OBJECT ${file_sources})
dib_library_settings(dib_files)
target_include_directories(dib_files PUBLIC ${PROJECT_SOURCE_DIR})

# Libraries of the platform: image formats and dlopen.
if(APPLE)
    set(DIB_PLATFORM_LIBRARIES
        "-framework AppKit" "-framework Foundation" "-framework CoreGraphics" "-framework CoreFoundation")
elseif(WIN32)
    set(DIB_PLATFORM_LIBRARIES windowscodecs ole32 uuid)
else()
    find_package(PNG REQUIRED)
    find_package(JPEG REQUIRED)
    find_package(TIFF 4.5 REQUIRED)
    find_package(ZLIB REQUIRED)
    find_package(PkgConfig REQUIRED)
    # Packs PNG files ten times as fast as zlib; 64-bit processors only.
    if(CMAKE_SIZEOF_VOID_P EQUAL 8)
        pkg_check_modules(ISAL REQUIRED IMPORTED_TARGET libisal)
    endif()
    pkg_check_modules(DEFLATE REQUIRED IMPORTED_TARGET libdeflate)
    set(DIB_PLATFORM_LIBRARIES PNG::PNG JPEG::JPEG TIFF::TIFF ZLIB::ZLIB PkgConfig::DEFLATE ${CMAKE_DL_LIBS}
        $<TARGET_NAME_IF_EXISTS:PkgConfig::ISAL>)
endif()

set_property(SOURCE ${PROJECT_SOURCE_DIR}/formats/linux/Deflater.cpp APPEND PROPERTY COMPILE_DEFINITIONS
    DIB_HAS_ISAL=$<TARGET_EXISTS:PkgConfig::ISAL>)

add_library(dibstream_objects OBJECT ${dib_sources} ${operation_sources})
dib_library_settings(dibstream_objects)
target_link_libraries(dibstream_objects PRIVATE ${DIB_PLATFORM_LIBRARIES})
target_include_directories(dibstream_objects PUBLIC
    ${PROJECT_SOURCE_DIR}/include
    ${PROJECT_SOURCE_DIR}/c/include
    ${PROJECT_SOURCE_DIR}/vexlibs/include
    ${PROJECT_SOURCE_DIR})

if(ZLIB_FOUND)
    target_include_directories(dibstream_objects SYSTEM PRIVATE ${ZLIB_INCLUDE_DIRS})
endif()

add_library(dibstream ${DIB_LIBRARY_TYPE}
    $<TARGET_OBJECTS:dibstream_objects> $<TARGET_OBJECTS:dib_files>)
add_library(DibStream::dibstream ALIAS dibstream)
dib_library_settings(dibstream)
target_compile_features(dibstream PUBLIC cxx_std_17)
# Callers of DibCocoaUtil.h and LoadDDS need VexString.
target_link_libraries(dibstream PUBLIC VexLibs PRIVATE ${DIB_PLATFORM_LIBRARIES} ${DIB_OPTIONAL_LIBRARIES})
# dibstream.h, for C programs, has a folder of its own: where file systems ignore case its name is that of DibStream.h.
target_include_directories(dibstream INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/c/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/dibstream>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
if(DIB_LIBRARY_TYPE STREQUAL SHARED AND NOT DIB_SANITIZE AND NOT APPLE)  # the default on Apple
    target_link_options(dibstream PRIVATE -Wl,--no-undefined)
endif()
if(DIB_LIBRARY_TYPE STREQUAL SHARED AND NOT APPLE AND NOT WIN32)
    # Nor does it export what it takes from static libraries.
    target_link_options(dibstream PRIVATE -Wl,--exclude-libs,ALL)
    target_link_options(dibstream PRIVATE -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map)
    set_property(TARGET dibstream APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/exports.map)
endif()
set_target_properties(dibstream PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})

if(DIB_BUILD_TESTS OR DIB_BUILD_FUZZERS OR DIB_BUILD_TOOLS)
    # The same objects as a static library: tests reach internal functions and make single allocations fail.
    add_library(dibstream_internal STATIC)
    target_link_libraries(dibstream_internal PUBLIC
        dibstream_objects dib_files VexLibs_internal ${DIB_PLATFORM_LIBRARIES} ${DIB_OPTIONAL_LIBRARIES})
endif()
