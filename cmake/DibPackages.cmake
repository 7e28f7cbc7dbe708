# Packages of the same tree are the same bytes where SOURCE_DATE_EPOCH sets the dates of their files.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/DibPackageDates.cmake)

# Windows: one zip file, by `cpack --config build/windows/CPackConfig.cmake`.
if(WIN32)
    set(CPACK_GENERATOR ZIP)
    set(CPACK_PACKAGE_NAME dibstream)
    set(CPACK_SYSTEM_NAME windows-x64)
    set(CPACK_STRIP_FILES ON)
    set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/DibPackageOrder.cmake)
    set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)  # tests are not needed for it
    include(CPack)
    return()
endif()

# Debian packages: `cmake --preset package && cmake --build --preset package && cpack --config build/package/CPackConfig.cmake`.
# Each component of the install rules is a package.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME dibstream)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_CONTACT "DibStream developers <dibstream@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_THREADS 1)
set(CPACK_COMPONENTS_GROUPING IGNORE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR} ${PROJECT_BINARY_DIR}/vexlibs)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Packages of one build depend on each other's exact version.
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

# dib_package(COMPONENT NAME SECTION SUMMARY TEXT [DEPENDS COMPONENT]): name and description of a package.
macro(dib_package component name section summary text)
    cmake_parse_arguments(package "" "DEPENDS" "" ${ARGN})
    string(TOUPPER ${component} upper)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${text}")
    set(CPACK_COMPONENT_${upper}_DEPENDS ${package_DEPENDS})
    if(DIB_PACKAGES)
        install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright ${dib_package_texts}/changelog.gz
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
        set(overrides ${PROJECT_SOURCE_DIR}/cmake/debian/${name}.lintian-overrides)
        if(EXISTS ${overrides})
            install(FILES ${overrides}
                DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${name} COMPONENT ${component})
        endif()
    endif()
endmacro()

# Debian requires these two compressed, without a time stamp.
if(DIB_PACKAGES)
    set(dib_package_texts ${PROJECT_BINARY_DIR}/package-texts)
    file(MAKE_DIRECTORY ${dib_package_texts})
    execute_process(COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/cmake/debian/changelog
        OUTPUT_FILE ${dib_package_texts}/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
endif()

dib_package(runtime libdibstream${PROJECT_VERSION_MAJOR} libs "library for pictures in memory and image files"
    "Bitmaps of 1 to 32 bits per pixel: reading and writing of image files,\nconversion between colour depths, resizing, distortions and filters.")

# The package that programs linked against the libraries depend on.
set(dib_shlibs ${PROJECT_BINARY_DIR}/package-texts/shlibs)
set(dib_package "libdibstream${PROJECT_VERSION_MAJOR} (>= ${PROJECT_VERSION})")
file(WRITE ${dib_shlibs}
    "libdibstream ${PROJECT_VERSION_MAJOR} ${dib_package}\nlibVexLibs ${PROJECT_VERSION_MAJOR} ${dib_package}\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${dib_shlibs} ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)

dib_package(development libdibstream-dev libdevel "library for pictures in memory (development files)"
    "Headers, CMake package and pkg-config file for programs that use the\nDibStream library."
    DEPENDS runtime)

dib_package(tools dibstream-tools graphics "command-line program for pictures"
    "The program dib takes pictures through chains of operations: colour\ndepth, size, distortions and filters, from file to file or as a filter."
    DEPENDS runtime)

if(TARGET plugin_dds OR TARGET plugin_exr)
    dib_package(plugins dibstream-plugins libs "loaders of EXR and DDS files for the DibStream library"
        "Plug-in bundles that decode EXR and DDS files for programs that use the\nDibStream library."
        DEPENDS runtime)
endif()

if(TARGET plugin_webp)
    dib_package(plugin-webp dibstream-plugin-webp libs "loader of WebP files for the DibStream library"
        "Plug-in bundle that decodes WebP files for programs that use the\nDibStream library."
        DEPENDS runtime)
endif()
if(TARGET plugin_gif)
    dib_package(plugin-gif dibstream-plugin-gif libs "loader of GIF files for the DibStream library"
        "Plug-in bundle that decodes GIF files for programs that use the\nDibStream library."
        DEPENDS runtime)
endif()

if(TARGET dibstream_python)
    dib_package(python python3-dibstream python "pictures, their files and effects for Python"
        "Opens and saves pictures in many formats, applies effects to them and\nshows their pixels as NumPy arrays, by the DibStream library."
        DEPENDS runtime)
    set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS ${DIB_PYTHON_PACKAGES})
    set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS python3-numpy)
endif()

include(CPack)
