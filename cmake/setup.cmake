# Compiler settings for the whole tree and the helpers that the folders use.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")

if(WIN32)
    set(TW_PLATFORM win32)
else()
    set(TW_PLATFORM posix)
endif()

find_package(Threads REQUIRED)
# Windows brings TLS along.
if(NOT WIN32)
    find_package(OpenSSL 3 REQUIRED)
endif()

# Warnings count as errors on every compiler; they are set per target, so that outside code stays out of it.
add_library(tw_options INTERFACE)
target_include_directories(tw_options INTERFACE "${CMAKE_SOURCE_DIR}")
target_compile_options(tw_options INTERFACE -Wall -Wextra -Werror -Wshadow -Wnon-virtual-dtor -Wformat=2 -Wno-format-nonliteral)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # It sees overlaps in std::string's own operator+ (its bug 105651).
    target_compile_options(tw_options INTERFACE -Wno-restrict)
endif()
target_link_libraries(tw_options INTERFACE Threads::Threads)
if(WIN32)
    # The oldest system that is still looked after; and one self-contained program file.
    target_compile_definitions(tw_options INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
    # The same sources make the same bytes; what tells the lines of the code is taken off when all is packed.
    target_compile_options(tw_options INTERFACE -g1)
    target_link_options(tw_options INTERFACE -static -Wl,--no-insert-timestamp)
endif()

if(TARNWICK_SANITIZE)
    add_compile_options(-fsanitize=${TARNWICK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${TARNWICK_SANITIZE})
endif()

# tw_library(NAME SOURCES ... [PLATFORM ...] [LINK ...])
# A library of one layer. PLATFORM names sources without their suffix: x stands for x_win32.cpp or x_posix.cpp.
# LINK names the layers below. An include in any other direction fails to link, or where a header alone brings all that is
# wanted, in tests/lint, which reads these calls.
function(tw_library name)
    cmake_parse_arguments(A "" "" "SOURCES;PLATFORM;LINK" ${ARGN})
    set(sources ${A_SOURCES})
    foreach(base IN LISTS A_PLATFORM)
        list(APPEND sources "${base}_${TW_PLATFORM}.cpp")
    endforeach()
    add_library(${name} STATIC ${sources})
    target_link_libraries(${name} PUBLIC tw_options ${A_LINK})
endfunction()
