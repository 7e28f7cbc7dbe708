# Tests of the source tree and of the installed libraries.

if(CMAKE_CROSSCOMPILING)
    # The native build has the others.
    find_package(Threads REQUIRED)
    add_executable(threads_test ${CMAKE_CURRENT_SOURCE_DIR}/system/Threads.cpp)
    target_link_libraries(threads_test PRIVATE dibstream_internal dib_options Threads::Threads)
    add_test(NAME system.threads COMMAND threads_test)
    if(DIB_LIBRARY_TYPE STREQUAL SHARED)
        add_test(NAME system.exports
            COMMAND bash ${CMAKE_CURRENT_SOURCE_DIR}/system/exports.sh ${CMAKE_CURRENT_SOURCE_DIR}/exports
                    $<TARGET_FILE:dibstream> $<TARGET_FILE:VexLibs>)
    endif()
    return()
endif()

set(system_dir ${CMAKE_CURRENT_SOURCE_DIR}/system)
set(system_work ${CMAKE_CURRENT_BINARY_DIR}/system)
find_package(Python3 COMPONENTS Interpreter)
find_program(DIB_CLANG_FORMAT clang-format-14)
find_program(DIB_DOXYGEN doxygen)
find_program(DIB_CODESPELL codespell)
find_program(DIB_CLANG clang++-14)  # lists what the public headers declare

if(Python3_FOUND)
    set(check_includes ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/check-includes.py)
    set(check_quotes ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/check-quotes.py)
    set(check_style ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/check-style.py)
    set(check_features ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/check-features.py)
    set(check_reached ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/reached-table.py --check)
    set(check_versions ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/check-versions.py)
    add_test(NAME tree.mutants
        COMMAND bash ${system_dir}/mutants.sh
                ${PROJECT_SOURCE_DIR}/scripts/mutants.py ${system_dir}/mutants ${system_work}/mutants ${CMAKE_CXX_COMPILER})
    # Each check must also report every kind of offence in a tree made for it.
    foreach(check includes quotes style features reached versions)
        add_test(NAME tree.${check} COMMAND ${check_${check}})
        add_test(NAME tree.${check}.offences
            COMMAND bash ${system_dir}/offences.sh ${system_dir}/wrong-${check} ${check_${check}})
    endforeach()
    # scripts/site.sh makes the pages that this check is for.
    add_test(NAME tree.links.offences
        COMMAND bash ${system_dir}/offences.sh ${system_dir}/wrong-links
                ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/check-links.py)
endif()
find_program(DIB_GIT git)
if(DIB_GIT AND Python3_FOUND)
    add_test(NAME tree.release COMMAND bash ${system_dir}/release.sh ${PROJECT_SOURCE_DIR} ${system_work}/release)
    set_tests_properties(tree.release PROPERTIES TIMEOUT 120 SKIP_RETURN_CODE 77)
endif()
if(DIB_CODESPELL)
    set(check_spelling bash ${PROJECT_SOURCE_DIR}/scripts/check-spelling.sh)
    add_test(NAME tree.spelling COMMAND ${check_spelling})
    add_test(NAME tree.spelling.offences
        COMMAND bash ${system_dir}/offences.sh ${system_dir}/wrong-spelling ${check_spelling})
endif()
find_program(DIB_DICTION diction)
if(DIB_DICTION)
    set(check_prose bash ${PROJECT_SOURCE_DIR}/scripts/check-prose.sh)
    add_test(NAME tree.prose COMMAND ${check_prose})
    add_test(NAME tree.prose.offences
        COMMAND bash ${system_dir}/offences.sh ${system_dir}/wrong-prose ${check_prose})
endif()

add_test(NAME tree.bench-plots
    COMMAND bash ${system_dir}/bench-plots.sh ${PROJECT_SOURCE_DIR}/scripts/bench-plots.py ${system_work}/bench-plots)
set_tests_properties(tree.bench-plots PROPERTIES SKIP_RETURN_CODE 77)
add_test(NAME tree.format-tables
    COMMAND bash ${PROJECT_SOURCE_DIR}/scripts/format-tables.sh --check $<TARGET_FILE:format_tables>)
if(DIB_CLANG_FORMAT)
    add_test(NAME tree.format COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-format.sh)
endif()
if(DIB_DOXYGEN)
    add_test(NAME tree.reference COMMAND ${PROJECT_SOURCE_DIR}/scripts/docs.sh ${system_work}/docs)
endif()

# scripts/web.sh runs the tests that need a compiler for browsers.
find_program(DIB_NODE node)
if(DIB_NODE)
    add_test(NAME web.chain COMMAND ${DIB_NODE} --test ${CMAKE_CURRENT_SOURCE_DIR}/web/chain.test.mjs)
endif()

if(TARGET dibstream_python)
    file(MAKE_DIRECTORY ${system_work})
    add_test(NAME system.python
        COMMAND ${DIB_PYTHON_RUN} -m pytest -q -p no:cacheprovider --basetemp=${system_work}/python ${PROJECT_SOURCE_DIR}/python/tests)
    set_tests_properties(system.python PROPERTIES TIMEOUT 300)
    if(NOT DIB_SANITIZE)
        add_test(NAME system.cluster
            COMMAND ${DIB_PYTHON_RUN} ${system_dir}/cluster.py
                    ${PROJECT_SOURCE_DIR}/examples/cluster/map_pictures.py ${system_work}/cluster)
        set_tests_properties(system.cluster PROPERTIES TIMEOUT 600 PROCESSORS 2 SKIP_RETURN_CODE 77)
    endif()
endif()

# scripts/threads.sh runs it under the thread sanitizer.
find_package(Threads REQUIRED)
add_executable(threads_test ${system_dir}/Threads.cpp)
target_link_libraries(threads_test PRIVATE dibstream_internal dib_options Threads::Threads)
add_test(NAME system.threads COMMAND threads_test)

# The tests below examine the libraries as they are installed: without instrumentation.
if(DIB_SANITIZE OR CMAKE_CXX_FLAGS MATCHES "--coverage")
    return()
endif()

if(Python3_FOUND)
    set(check_headers ${Python3_EXECUTABLE} ${system_dir}/headers.py ${CMAKE_CXX_COMPILER})
    add_test(NAME system.headers
        COMMAND ${check_headers} ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/vexlibs/include
                ${PROJECT_SOURCE_DIR}/c/include)
    add_test(NAME system.headers.offences
        COMMAND bash ${system_dir}/offences.sh ${system_dir}/wrong-headers ${check_headers})
    add_test(NAME system.declarations.offences
        COMMAND bash ${system_dir}/declarations.sh ${DIB_CLANG} ${system_work}/declarations ${CMAKE_CXX_COMPILER})
    set(check_c_interface ${Python3_EXECUTABLE} ${system_dir}/c-interface.py ${DIB_CLANG} ${CMAKE_C_COMPILER})
    add_test(NAME system.c-interface COMMAND ${check_c_interface} ${PROJECT_SOURCE_DIR}/c)
    add_test(NAME system.c-interface.offences
        COMMAND bash ${system_dir}/offences.sh ${system_dir}/wrong-interface ${check_c_interface})
    set_tests_properties(system.headers PROPERTIES TIMEOUT 600 PROCESSORS 2)
endif()
find_program(DIB_ABIDIFF abidiff)
if(DIB_ABIDIFF AND DIB_LIBRARY_TYPE STREQUAL SHARED AND CMAKE_BUILD_TYPE STREQUAL RelWithDebInfo AND NOT DIB_SANITIZE)
    add_test(NAME system.abi COMMAND bash ${system_dir}/abi.sh ${PROJECT_SOURCE_DIR}/c $<TARGET_FILE:dibstream>)
    set_tests_properties(system.abi PROPERTIES SKIP_RETURN_CODE 77)
endif()
if(NOT APPLE)
    # Has a malloc of its own.
    add_executable(library_allocations ${system_dir}/LibraryAllocations.cpp)
    target_link_libraries(library_allocations PRIVATE dibstream_internal dib_options)
    add_test(NAME system.library-allocations
        COMMAND library_allocations
                $<$<TARGET_EXISTS:plugin_exr>:$<TARGET_FILE_DIR:plugin_exr>>
                $<$<TARGET_EXISTS:plugin_exr>:${PROJECT_SOURCE_DIR}/fuzz/seeds/exr/lines-piz.exr>
        COMMAND_EXPAND_LISTS)
endif()
add_test(NAME system.digest
    COMMAND bash ${system_dir}/digest.sh ${CMAKE_CURRENT_SOURCE_DIR}/digest/list.txt $<TARGET_FILE:digest>)
set_tests_properties(system.digest PROPERTIES TIMEOUT 600)
add_test(NAME system.exports
    COMMAND bash ${system_dir}/exports.sh ${CMAKE_CURRENT_SOURCE_DIR}/exports
            $<TARGET_FILE:dibstream> $<TARGET_FILE:VexLibs>)
foreach(plugin dds exr webp gif)
    if(TARGET plugin_${plugin})
        add_test(NAME system.exports.${plugin}
            COMMAND bash ${system_dir}/exports.sh
                    ${CMAKE_CURRENT_SOURCE_DIR}/plugins/exports/${plugin} $<TARGET_FILE:plugin_${plugin}>)
    endif()
endforeach()
if(DIB_INSTALL)
    add_test(NAME system.install
        COMMAND bash ${system_dir}/install.sh
                ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR} ${system_work}/install ${CMAKE_CXX_COMPILER} ${DIB_CLANG})
    set_tests_properties(system.install PROPERTIES TIMEOUT 600)
endif()
add_test(NAME system.subproject
    COMMAND bash ${system_dir}/subproject.sh
            ${PROJECT_SOURCE_DIR} ${system_work}/subproject ${CMAKE_CXX_COMPILER} ${DIB_CLANG}
            ${CMAKE_BUILD_TYPE})
set_tests_properties(system.subproject PROPERTIES TIMEOUT 900 PROCESSORS 2)
# One compiler's packages are enough.
if(DIB_TOP_LEVEL AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    add_test(NAME system.packages
        COMMAND bash ${system_dir}/packages.sh
                ${PROJECT_SOURCE_DIR} ${system_work}/packages ${CMAKE_CXX_COMPILER} ${DIB_CLANG})
    set_tests_properties(system.packages PROPERTIES TIMEOUT 1800 PROCESSORS 2 SKIP_RETURN_CODE 77)
endif()
if(TARGET dibstream_python AND DIB_INSTALL)
    add_test(NAME system.wheel
        COMMAND bash ${system_dir}/wheel.sh ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR} ${system_work}/wheel ${DIB_PYTHON})
    set_tests_properties(system.wheel PROPERTIES TIMEOUT 600 SKIP_RETURN_CODE 77)
endif()
if(TARGET dib AND DIB_LIBRARY_TYPE STREQUAL SHARED)
    # The library with one operation more.
    add_library(dibstream_pretend SHARED
        $<FILTER:$<TARGET_OBJECTS:dibstream_objects>,EXCLUDE,/operations/Areas.cpp> $<TARGET_OBJECTS:dib_files>
        operations/pretend/PretendAreas.cpp)
    dib_library_settings(dibstream_pretend)
    target_compile_options(dibstream_pretend PRIVATE ${DIB_JOINS_TEXTS})
    target_link_libraries(dibstream_pretend PRIVATE VexLibs ${DIB_PLATFORM_LIBRARIES})
    target_include_directories(dibstream_pretend PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
    set_target_properties(dibstream_pretend PROPERTIES
        OUTPUT_NAME dibstream SOVERSION ${PROJECT_VERSION_MAJOR}
        LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/pretend)
    add_executable(pretend_in_c operations/pretend/program.c)
    target_link_libraries(pretend_in_c PRIVATE dibstream)
    add_test(NAME system.pretend
        COMMAND bash ${system_dir}/pretend.sh
                $<TARGET_FILE:dib> $<TARGET_FILE:dibstream_pretend> $<TARGET_FILE:make_sample_picture>
                $<TARGET_FILE:pretend_in_c> ${system_work}/pretend ${DIB_PYTHON_RUN})
endif()
if(TARGET dib)
    add_test(NAME system.sandbox
        COMMAND bash ${system_dir}/sandbox.sh
                ${PROJECT_SOURCE_DIR}/examples/sandbox/dib-sandboxed $<TARGET_FILE:dib> $<TARGET_FILE:make_sample_picture>
                ${system_work}/sandbox)
    set_tests_properties(system.sandbox PROPERTIES TIMEOUT 120 SKIP_RETURN_CODE 77)
    add_test(NAME system.completions
        COMMAND bash ${system_dir}/completions.sh $<TARGET_FILE:dib> ${system_work}/completions)
    add_test(NAME system.everyday-jobs
        COMMAND ${Python3_EXECUTABLE} -B ${system_dir}/everyday-jobs.py
                $<TARGET_FILE:dib> $<TARGET_FILE:make_sample_picture> ${PROJECT_SOURCE_DIR}/docs/everyday-jobs.md
                ${PROJECT_SOURCE_DIR}/fuzz/seeds/gif/animated.gif ${system_work}/everyday-jobs)
    set_tests_properties(system.everyday-jobs PROPERTIES TIMEOUT 120)
    # The recipes in C++; those of other languages need no build.
    if(TARGET dibstream_python)
        file(GLOB recipes CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/examples/recipes/*.cpp)
        foreach(recipe ${recipes})
            get_filename_component(name ${recipe} NAME_WE)
            add_executable(recipe_${name} ${recipe})
            target_link_libraries(recipe_${name} PRIVATE dibstream dib_options)
            set_target_properties(recipe_${name} PROPERTIES
                OUTPUT_NAME ${name} RUNTIME_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/recipes)
        endforeach()
        add_test(NAME system.recipes
            COMMAND ${DIB_PYTHON_RUN} -B ${system_dir}/recipes.py
                    ${PROJECT_SOURCE_DIR} $<TARGET_FILE:dib> $<TARGET_FILE:make_sample_picture>
                    ${CMAKE_CURRENT_BINARY_DIR}/recipes ${system_work}/recipes)
        set_tests_properties(system.recipes PROPERTIES TIMEOUT 300)
    endif()
    add_test(NAME system.many-pictures
        COMMAND bash ${system_dir}/many-pictures.sh
                $<TARGET_FILE:dib> $<TARGET_FILE:make_sample_picture> ${system_work}/many-pictures)
    set_tests_properties(system.many-pictures PROPERTIES TIMEOUT 120 PROCESSORS 2 SKIP_RETURN_CODE 77)
    # Python of the system, which has the libraries of Debian's packages. One compiler's library is enough.
    if(TARGET plugin_dds AND CMAKE_CXX_COMPILER_ID STREQUAL GNU AND EXISTS /usr/bin/python3)
        add_test(NAME system.exchange
            COMMAND /usr/bin/python3 ${system_dir}/exchange/exchange.py $<TARGET_FILE:dib> $<TARGET_FILE_DIR:plugin_dds>)
        set_tests_properties(system.exchange PROPERTIES TIMEOUT 300 PROCESSORS 2 SKIP_RETURN_CODE 77)
        add_test(NAME system.peers
            COMMAND /usr/bin/python3 -B ${system_dir}/peers/peers.py $<TARGET_FILE:dib> $<TARGET_FILE:make_sample_picture>)
        set_tests_properties(system.peers PROPERTIES TIMEOUT 300 SKIP_RETURN_CODE 77)
    endif()
endif()
