# Read by cpack for each generator: which part of the installation goes into it, and where.
if(CPACK_GENERATOR STREQUAL "External")
    set(part debian)
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
else()
    set(part program)
endif()
set(CPACK_INSTALL_CMAKE_PROJECTS "${CPACK_TARNWICK_BUILD};tarnwick;${part};/")
