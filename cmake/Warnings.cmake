# Warning flags shared by every target of the project.
option(PELMOR_WERROR "Treat compiler warnings as errors" OFF)

function(pelmor_set_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra)
    if(PELMOR_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
