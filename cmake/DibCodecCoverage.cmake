# The codecs with coverage counters and without optimiser. All else is compiled as in the preset dev, so that the compiler cache
# has it.

file(GLOB_RECURSE counted_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/formats/*.cpp ${PROJECT_SOURCE_DIR}/plugins/*.cpp)
set_property(SOURCE ${counted_sources} DIRECTORY ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/plugins
    APPEND PROPERTY COMPILE_OPTIONS --coverage -O0)
