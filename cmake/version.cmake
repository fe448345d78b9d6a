# The version stands in the project's first lines and nowhere else; the newest entry of the change log has it, too, with the
# day that stands for the time of the build: so the same sources make the same programs on any day.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS CHANGELOG.md)
file(STRINGS "${CMAKE_SOURCE_DIR}/CHANGELOG.md" heads REGEX "^## ")
list(GET heads 0 head)
if(NOT head MATCHES "^## ([0-9.]+) \\(([0-9]+-[0-9]+-[0-9]+)\\)$" OR NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
    message(FATAL_ERROR "CHANGELOG.md begins with '${head}', and this is version ${PROJECT_VERSION}")
endif()
set(TW_RELEASE_DATE "${CMAKE_MATCH_2}")
# string(TIMESTAMP) reads no dates, but writes them in the time of this variable.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
    set(TW_RELEASE_EPOCH "$ENV{SOURCE_DATE_EPOCH}")
else()
    execute_process(COMMAND date -u -d "${TW_RELEASE_DATE}" +%s OUTPUT_VARIABLE TW_RELEASE_EPOCH OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
endif()

# tw_version_numbers(VARIABLE SEPARATOR): the version as four numbers, as Windows has it.
function(tw_version_numbers variable separator)
    # A number with a leading zero would be an octal one.
    string(REGEX REPLACE "^0+([0-9])" "\\1" minor "${PROJECT_VERSION_MINOR}")
    set(${variable} "${PROJECT_VERSION_MAJOR}${separator}${minor}${separator}0${separator}0" PARENT_SCOPE)
endfunction()
