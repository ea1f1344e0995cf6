# Imported targets of the libraries that come from outside: jsoncpp, libdeflate, libzip, pugixml, spdlog, sqlite,
# GTest::gtest, GTest::gmock, GTest::gmock_main. cmake/build-dependencies builds what the cache lacks
# and names where each one is; with a full cache that takes a moment.

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/build-dependencies)
execute_process(
  COMMAND ${PROJECT_SOURCE_DIR}/cmake/build-dependencies
  OUTPUT_VARIABLE dependency_lines
  OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\n" ";" dependency_lines "${dependency_lines}")
foreach(line IN LISTS dependency_lines) # NAME=FOLDER
  string(REGEX MATCH "^([^=]+)=(.+)$" _ "${line}")
  set(${CMAKE_MATCH_1}_prefix ${CMAKE_MATCH_2})
endforeach()

# An imported static library: ra_imported(target prefix [archive] [needed targets ...])
function(ra_imported target prefix archive)
  if(archive)
    add_library(${target} STATIC IMPORTED GLOBAL)
    set_target_properties(${target} PROPERTIES IMPORTED_LOCATION ${prefix}/lib/${archive})
  else()
    add_library(${target} INTERFACE IMPORTED GLOBAL)
  endif()
  target_include_directories(${target} SYSTEM INTERFACE ${prefix}/include)
  target_link_libraries(${target} INTERFACE ${ARGN})
endfunction()

ra_imported(jsoncpp ${jsoncpp_prefix} libjsoncpp.a)
ra_imported(libzip ${libzip_prefix} libzip.a /usr/x86_64-w64-mingw32/lib/libz.a bcrypt)
target_compile_definitions(libzip INTERFACE ZIP_STATIC)
ra_imported(libdeflate ${libdeflate_prefix} libdeflate.a)
ra_imported(pugixml ${pugixml_prefix} libpugixml.a)
ra_imported(sqlite ${sqlite_prefix} libsqlite3.a)

ra_imported(spdlog ${spdlog_prefix} "")
target_compile_definitions(spdlog INTERFACE SPDLOG_FMT_EXTERNAL FMT_HEADER_ONLY)

ra_imported(GTest::gtest ${googletest_prefix} libgtest.a)
ra_imported(GTest::gmock ${googletest_prefix} libgmock.a GTest::gtest)
ra_imported(GTest::gmock_main ${googletest_prefix} libgmock_main.a GTest::gmock)

# The console of the shell, as its makers built it. `npm ci` brings it.
set(winpty_folder ${PROJECT_SOURCE_DIR}/node_modules/node-pty/prebuilds/win32-x64)
foreach(file winpty.dll winpty-agent.exe)
  if(NOT EXISTS ${winpty_folder}/${file})
    message(FATAL_ERROR "${winpty_folder}/${file} is missing: cmake/setup brings it")
  endif()
  configure_file(${winpty_folder}/${file} ${PROJECT_BINARY_DIR}/bin/${file} COPYONLY)
endforeach()
