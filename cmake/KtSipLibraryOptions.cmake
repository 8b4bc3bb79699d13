# Code generation of the project's shared libraries.
#
# A shared library built with -fPIC lets the dynamic linker interpose every exported
# function, so by default the compiler may not inline or call directly a function
# defined in the same library, and each such call goes through the PLT. The libraries
# do not support replacing their functions from outside, so:
#   -fno-semantic-interposition  calls within a translation unit may be inlined and direct;
#   -Wl,-Bsymbolic-functions     calls between translation units of the library bind to the
#                                library's own definitions at link time (no PLT stub);
#   -fno-plt                     calls into other libraries (libktutil from libktsip, libc)
#                                load the target from the GOT instead of jumping via a stub.
# The exported interface is unchanged; the options are private to the libraries.
function(ktsip_library_options target)
  target_compile_options(${target} PRIVATE -fno-semantic-interposition -fno-plt)
  target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions)
endfunction()
