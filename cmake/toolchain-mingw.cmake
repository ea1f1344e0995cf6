# Cross-building for 64-bit Windows 10 and later on Debian.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# The -posix flavour: only it has std::thread, std::mutex and std::condition_variable.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Nothing of the build machine may be found by accident.
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The oldest Windows served is 10, version 1809 (its pseudo-console interfaces among others).
set(windows_definitions "-D_WIN32_WINNT=0x0A00 -DNTDDI_VERSION=0x0A000006 -DUNICODE -D_UNICODE -DNOMINMAX -DWIN32_LEAN_AND_MEAN")
set(CMAKE_C_FLAGS_INIT "${windows_definitions}")
set(CMAKE_CXX_FLAGS_INIT "${windows_definitions}")

# Everything of the compiler's own runtime goes into each binary, winpthread included, which the
# two -static-lib... options alone would leave outside. The time stamp would make each link differ.
set(linker_flags "-static -Wl,--no-insert-timestamp")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${linker_flags}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${linker_flags}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${linker_flags}")

# No -g in what is shipped: debug information of a static C++ runtime would be most of the link time.
# Not the ..._INIT variables, to which CMake adds its own -O3.
foreach(language C CXX)
  set(CMAKE_${language}_FLAGS_RELEASE "-O2 -DNDEBUG" CACHE STRING "")
  set(CMAKE_${language}_FLAGS_DEBUG "-Og -g1" CACHE STRING "")
endforeach()
