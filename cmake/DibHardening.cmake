# Packages are compiled and linked with Debian's own flags, including those for hardening.

find_program(DPKG_BUILDFLAGS dpkg-buildflags REQUIRED)
foreach(kind CPPFLAGS CXXFLAGS LDFLAGS)
    execute_process(
        COMMAND ${CMAKE_COMMAND} -E env DEB_BUILD_MAINT_OPTIONS=hardening=+all ${DPKG_BUILDFLAGS} --get ${kind}
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
        OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(dib_debian_${kind} UNIX_COMMAND "${flags}")
endforeach()
add_compile_options(${dib_debian_CPPFLAGS} ${dib_debian_CXXFLAGS})
add_link_options(${dib_debian_LDFLAGS})
