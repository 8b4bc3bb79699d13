# Warnings for the project's own targets.
function(ktsip_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()
