# PELMOR_SANITIZE=ON builds everything with AddressSanitizer and UndefinedBehaviorSanitizer.
option(PELMOR_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)

if(PELMOR_SANITIZE)
    set(_pelmor_san_flags -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    add_compile_options(${_pelmor_san_flags})
    add_link_options(-fsanitize=address,undefined)
endif()

# Code that binds the library as a host does sees its classes only through their tables of slots: their
# type information stays inside the library, so UBSan's dynamic-type check has nothing to link against.
function(pelmor_as_host target)
    if(PELMOR_SANITIZE)
        target_compile_options(${target} PRIVATE -fno-sanitize=vptr)
    endif()
endfunction()

# PELMOR_SANITIZE_THREAD=ON builds with ThreadSanitizer instead (SANITIZE=thread scripts/test.sh).
option(PELMOR_SANITIZE_THREAD "Build with ThreadSanitizer" OFF)
if(PELMOR_SANITIZE_THREAD)
    if(PELMOR_SANITIZE)
        message(FATAL_ERROR "ThreadSanitizer and AddressSanitizer do not go together: pick one")
    endif()
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
endif()
