# Read when a package build is configured and again by cpack: packages built for the loopback emulator
# reach nothing in the field.
foreach(variable SERVICE_HOST COVERAGE_HOST)
    if(CPACK_PELMOR_${variable} MATCHES "^(127\\.|localhost|\\[::1\\]|::1|0\\.0\\.0\\.0)")
        message(WARNING "PELMOR_${variable} is ${CPACK_PELMOR_${variable}}, a loopback address: packages "
            "built from this tree reach only a pelmor-emulator on the same machine. Configure with "
            "-DPELMOR_${variable}=<production host> for packages meant for anyone else.")
    endif()
endforeach()
