# tw_resources(TARGET LANGUAGE number DESCRIPTION text SCRIPTS ...)
# Gives a program or a library of Windows what the resource scripts hold, and its version in the language of that number.
function(tw_resources target)
    cmake_parse_arguments(A "" "LANGUAGE;DESCRIPTION" "SCRIPTS" ${ARGN})
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "EXECUTABLE")
        set(TW_FILE_TYPE VFT_APP)
        set(TW_FILE ${target}.exe)
    else()
        set(TW_FILE_TYPE VFT_DLL)
        set(TW_FILE ${target}.dll)
    endif()
    tw_version_numbers(TW_VERSION_NUMBERS ",")

    set(version "${CMAKE_CURRENT_BINARY_DIR}/${target}.rc")
    configure_file("${CMAKE_SOURCE_DIR}/resources/version.rc.in" "${version}" @ONLY)
    file(GLOB_RECURSE files CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/resources/*.inc" "${CMAKE_SOURCE_DIR}/resources/*.rc"
        "${CMAKE_SOURCE_DIR}/resources/*.ico" "${CMAKE_SOURCE_DIR}/resources/*.manifest")
    set_source_files_properties(${A_SCRIPTS} "${version}" PROPERTIES COMPILE_OPTIONS "-c;65001" OBJECT_DEPENDS "${files}")
    # A library of its own keeps the C++ compiler's options away from the resource compiler.
    add_library(${target}_resources OBJECT ${A_SCRIPTS} "${version}")
    target_include_directories(${target}_resources PRIVATE "${CMAKE_SOURCE_DIR}")
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${target}_resources>)
endfunction()

# tw_program_resources(TARGET DESCRIPTION text)
# Gives a Windows program its icon, its manifest and its version.
function(tw_program_resources target)
    if(WIN32)
        tw_resources(${target} LANGUAGE 9 ${ARGN} SCRIPTS "${CMAKE_SOURCE_DIR}/resources/program.rc")
    endif()
endfunction()
