# How this repository declares its targets. Each folder's CMakeLists.txt is a list of these calls:
#
#   ra_library(name SOURCES a.cpp ... [LINK targets ...])              static library
#   ra_dll(name DEF name.def [DESCRIPTION "..."] SOURCES a.cpp ... [LINK targets ...])
#                                                                      name.dll, exporting what the .def lists
#   ra_program(name [GUI] [DESCRIPTION "..."] SOURCES a.cpp ... [LINK targets ...])
#                                                                      name.exe with wmain (wWinMain with GUI)
#   ra_test(name [OWN_MAIN] SOURCES a_test.cpp ... [LINK targets ...]) name.exe with GoogleTest, one ctest case;
#                                                                      OWN_MAIN when the sources bring main();
#                                                                      built by the target unit_tests, not by default
#
# What is shipped has a DESCRIPTION and with it a version resource, resource 1 of its type.
#
# Includes are written from the repository's root. All that runs lands in bin/ of the build folder,
# where programs find their DLLs as they do when installed.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)

add_library(ra_options INTERFACE)
target_include_directories(ra_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(ra_options INTERFACE "$<$<COMPILE_LANGUAGE:CXX>:\
-Wall;-Wextra;-Wpedantic;-Werror;\
-Wshadow;-Wold-style-cast;-Wcast-qual;-Wextra-semi;-Woverloaded-virtual;\
-Wformat=2;-Wlogical-op;-Wduplicated-cond;-Wduplicated-branches;-Wvla;-Wundef>")
# The library's own checks of indices and empty containers stay on in what is shipped: input comes
# from outside, and a clean end is better than a silent overrun.
target_compile_definitions(ra_options INTERFACE _GLIBCXX_ASSERTIONS)
# Symbols of a static C++ runtime are nine tenths of a small binary.
target_link_options(ra_options INTERFACE $<$<CONFIG:Release>:-s>)

function(ra_setup name sources libraries)
  target_sources(${name} PRIVATE ${sources})
  target_link_libraries(${name} PUBLIC ${libraries} PRIVATE ra_options)
endfunction()

# Adds a version resource to a target that has a description.
function(ra_version name type file description)
  if(description)
    set(version_type ${type})
    set(version_file ${file})
    set(version_description "${description}")
    configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${CMAKE_CURRENT_BINARY_DIR}/${name}.version.rc @ONLY)
    target_sources(${name} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${name}.version.rc)
  endif()
endfunction()

function(ra_library name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LINK")
  add_library(${name} STATIC)
  ra_setup(${name} "${ARG_SOURCES}" "${ARG_LINK}")
endfunction()

function(ra_dll name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "DEF;DESCRIPTION" "SOURCES;LINK")
  add_library(${name} SHARED ${ARG_DEF})
  set_target_properties(${name} PROPERTIES PREFIX "")
  ra_version(${name} 2 ${name}.dll "${ARG_DESCRIPTION}")
  ra_setup(${name} "${ARG_SOURCES}" "${ARG_LINK}")
endfunction()

function(ra_program name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "GUI" "DESCRIPTION" "SOURCES;LINK")
  add_executable(${name})
  target_link_options(${name} PRIVATE -municode)
  if(ARG_GUI)
    set_target_properties(${name} PROPERTIES WIN32_EXECUTABLE ON)
  endif()
  ra_version(${name} 1 ${name}.exe "${ARG_DESCRIPTION}")
  ra_setup(${name} "${ARG_SOURCES}" "${ARG_LINK}")
endfunction()

add_custom_target(unit_tests)

# ctest runs the program once and not once per test: a start under Wine costs more than most tests.
function(ra_test name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "OWN_MAIN" "" "SOURCES;LINK")
  add_executable(${name} EXCLUDE_FROM_ALL)
  add_dependencies(unit_tests ${name})
  if(ARG_OWN_MAIN)
    list(APPEND ARG_LINK GTest::gmock)
  else()
    list(APPEND ARG_LINK GTest::gmock_main)
  endif()
  ra_setup(${name} "${ARG_SOURCES}" "${ARG_LINK}")
  add_test(NAME ${name}
    COMMAND ${PROJECT_SOURCE_DIR}/cmake/wine-run $<TARGET_FILE:${name}>
    WORKING_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
endfunction()
