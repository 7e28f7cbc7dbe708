# Install rules: libraries, public headers, CMake package and pkg-config file.

include(CMakePackageConfigHelpers)

file(GLOB dib_public_headers CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/include/*.h
    ${PROJECT_SOURCE_DIR}/vexlibs/include/*.h)
install(FILES ${dib_public_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/dibstream)
install(TARGETS dibstream VexLibs EXPORT DibStreamTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
