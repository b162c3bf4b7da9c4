# Compiler warnings and sanitizers shared by every kyo target.

function(kyo_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  # GCC 12 reports overlapping copies inside std::string's own code when it
  # inlines deeply (-O2 and above); the warning is false there (GCC bug 105329).
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  if(KYO_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

if(KYO_BUILD_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "the fuzz targets need clang (CMAKE_CXX_COMPILER=clang++)")
  endif()
  # Coverage for the fuzzer in everything, the fuzzer's main only in the targets.
  add_compile_options(-fsanitize=fuzzer-no-link)
  set(KYO_SANITIZE ON)
endif()

if(KYO_TSAN)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
endif()

if(KYO_SANITIZE)
  # Applied globally so that the library, tests and tools agree on the runtime.
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer
                      -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()
