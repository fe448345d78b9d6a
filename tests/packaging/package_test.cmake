# The program as it is installed has all that it needs in its own folder, also if that is moved: it speaks German, and knows
# by the word list that came with it that replica watches are spam.
file(REMOVE_RECURSE installed "a folder" data)
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --component program --prefix installed
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
# On Windows there is nothing but the system besides.
if(OBJDUMP)
    file(GLOB foreign installed/*mapi*)
    if(foreign)
        message(FATAL_ERROR "a message store of the tests' own: ${foreign}")
    endif()
    set(system "advapi32|bcrypt|comctl32|crypt32|gdi32|kernel32|msvcrt|ole32|oleacc|oleaut32|secur32|shell32|user32|uxtheme|ws2_32")
    file(GLOB binaries installed/*.exe installed/*.dll)
    foreach(binary IN LISTS binaries)
        execute_process(COMMAND "${OBJDUMP}" -p "${binary}" OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
        string(REGEX MATCHALL "DLL Name: [^\n]+" imports "${headers}")
        foreach(import IN LISTS imports)
            string(TOLOWER "${import}" import)
            if(NOT import MATCHES ": (${system})\\.dll")
                message(FATAL_ERROR "${binary}: Windows may not have this library: ${import}")
            endif()
        endforeach()
    endforeach()
endif()
file(RENAME installed "a folder")
execute_process(
    COMMAND ${EMULATOR} "${CMAKE_CURRENT_BINARY_DIR}/a folder/${PROGRAM}" /DEMO /ONCE /INBOX /LANG:GER /WORKDIR:data
    OUTPUT_VARIABLE shown ERROR_VARIABLE shown RESULT_VARIABLE code)
if(NOT code EQUAL 0 OR NOT shown MATCHES "Betreff" OR NOT shown MATCHES " !\\*Replica Store ")
    message(FATAL_ERROR "ended with ${code} and showed:\n${shown}")
endif()
