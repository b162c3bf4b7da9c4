# Compiler warnings and sanitizers shared by every kyo target.

function(kyo_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  if(KYO_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

if(KYO_SANITIZE)
  # Applied globally so that the library, tests and tools agree on the runtime.
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer
                      -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()
