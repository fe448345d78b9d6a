# Run by cpack, once all that belongs to the package is installed in a folder: makes the package for Debian of it.
set(version "${CPACK_PACKAGE_VERSION}-${CPACK_TARNWICK_REVISION}")
execute_process(COMMAND dpkg --print-architecture OUTPUT_VARIABLE architecture OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(package "${CPACK_PACKAGE_DIRECTORY}/tarnwickc_${version}_${architecture}.deb")
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    set(ENV{SOURCE_DATE_EPOCH} "${CPACK_TARNWICK_EPOCH}")
endif()
execute_process(COMMAND bash "${CMAKE_CURRENT_LIST_DIR}/make-package" "${CPACK_TEMPORARY_DIRECTORY}" "${version}" "${CPACK_TARNWICK_MAINTAINER}" "${package}"
    COMMAND_ERROR_IS_FATAL ANY)
message(STATUS "- package: ${package}")
