# PELMOR_SANITIZE=ON builds everything with AddressSanitizer and UndefinedBehaviorSanitizer.
option(PELMOR_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)

if(PELMOR_SANITIZE)
    set(_pelmor_san_flags -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    add_compile_options(${_pelmor_san_flags})
    add_link_options(-fsanitize=address,undefined)
endif()
