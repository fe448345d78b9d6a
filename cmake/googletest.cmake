# GoogleTest is built from the sources of Debian's package, so that every compiler and sanitizer gets its own.
if(NOT EXISTS /usr/src/googletest/CMakeLists.txt)
    message(FATAL_ERROR "the sources of GoogleTest are missing: apt-get install googletest")
endif()
set(INSTALL_GTEST OFF)
set(gtest_force_shared_crt OFF)
add_subdirectory(/usr/src/googletest "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL SYSTEM)
