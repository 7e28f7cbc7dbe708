# Run by cpack after it packed a zip file: packs its files again, by their names. The first order is that of the file system.
foreach(package ${CPACK_PACKAGE_FILES})
    file(GLOB_RECURSE files RELATIVE ${CPACK_TOPLEVEL_DIRECTORY} ${CPACK_TEMPORARY_DIRECTORY}/*)
    list(JOIN files "\n" names)
    file(WRITE ${CPACK_TOPLEVEL_DIRECTORY}/names.txt "${names}\n")
    file(REMOVE ${package})
    execute_process(
        COMMAND ${CMAKE_COMMAND} -E tar cf ${package} --format=zip --files-from=${CPACK_TOPLEVEL_DIRECTORY}/names.txt
        WORKING_DIRECTORY ${CPACK_TOPLEVEL_DIRECTORY} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
