# Install rules: libraries, public headers, CMake package and pkg-config file.

include(CMakePackageConfigHelpers)

# Everything is needed to build an application, except the libraries, which it needs to run.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)

file(GLOB dib_public_headers CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/include/*.h
    ${PROJECT_SOURCE_DIR}/vexlibs/include/*.h)
install(FILES ${dib_public_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/dibstream)
# Not beside DibStream.h, whose name differs from this one in case alone.
install(FILES ${PROJECT_SOURCE_DIR}/c/include/dibstream.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# The libraries find each other even after the prefix was moved.
set_target_properties(dibstream PROPERTIES INSTALL_RPATH ${DIB_OWN_FOLDER})
install(TARGETS dibstream VexLibs EXPORT DibStreamTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})

set(dib_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/DibStream)
set(dib_plugin_dir ${CMAKE_INSTALL_LIBDIR}/dibstream/plugins)
install(EXPORT DibStreamTargets NAMESPACE DibStream:: DESTINATION ${dib_package_dir})
configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/DibStreamConfig.cmake.in
    ${PROJECT_BINARY_DIR}/DibStreamConfig.cmake
    INSTALL_DESTINATION ${dib_package_dir}
    PATH_VARS dib_plugin_dir)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/DibStreamConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/DibStreamConfig.cmake
    ${PROJECT_BINARY_DIR}/DibStreamConfigVersion.cmake
    DESTINATION ${dib_package_dir})

# The prefix is relative to the pkg-config file, so `cmake --install --prefix` works without a new configuration.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR} OR IS_ABSOLUTE ${CMAKE_INSTALL_INCLUDEDIR})
    set(dib_pc_prefix ${CMAKE_INSTALL_PREFIX})
    set(dib_pc_libdir ${CMAKE_INSTALL_FULL_LIBDIR})
    set(dib_pc_includedir ${CMAKE_INSTALL_FULL_INCLUDEDIR})
else()
    file(RELATIVE_PATH dib_pc_up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
    string(REGEX REPLACE "/$" "" dib_pc_up ${dib_pc_up})
    set(dib_pc_prefix "\${pcfiledir}/${dib_pc_up}")
    set(dib_pc_libdir "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
    set(dib_pc_includedir "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
# A run path leads programs to the shared libraries, except in packages (CMAKE_SKIP_INSTALL_RPATH), which install where the
# loader looks. With static libraries a program also links what the library uses.
set(dib_pc_run_path "")
set(dib_pc_private "")
if(DIB_LIBRARY_TYPE STREQUAL STATIC)
    if(APPLE)
        list(JOIN DIB_PLATFORM_LIBRARIES " " libraries)
        if(ZLIB_FOUND)
            string(APPEND libraries " -lz")
        endif()
        set(dib_pc_private "Libs.private: ${libraries} -lc++\n")
    elseif(WIN32)
        list(JOIN DIB_PLATFORM_LIBRARIES " -l" libraries)
        if(ZLIB_FOUND)
            string(APPEND libraries " -lz")
        endif()
        set(dib_pc_private "Libs.private: -l${libraries} -lstdc++\n")
    else()
        set(dib_pc_freetype "")
        if(Freetype_FOUND)
            set(dib_pc_freetype " freetype2")
        endif()
        set(dib_pc_private "Requires.private: libpng libjpeg libtiff-4 >= 4.5 zlib libisal libdeflate${dib_pc_freetype}\nLibs.private: -l${CMAKE_DL_LIBS} -lstdc++ -lm\n")
    endif()
elseif(NOT WIN32 AND NOT CMAKE_SKIP_INSTALL_RPATH)
    set(dib_pc_run_path " -Wl,-rpath,\${libdir}")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/dibstream.pc.in ${PROJECT_BINARY_DIR}/dibstream.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/dibstream.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
