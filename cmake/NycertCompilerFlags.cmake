# Warnings for the project's own code, and the sanitizer builds.

function(nycert_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wformat=2 -Wnon-virtual-dtor)
  if(NYCERT_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# The fuzzing build (clang): library code gets coverage instrumentation, the
# fuzz targets link against libFuzzer, and everything runs under the
# AddressSanitizer and UndefinedBehaviorSanitizer.
option(NYCERT_FUZZ "Build the fuzz targets for libFuzzer, with sanitizers (clang only)" OFF)
if(NYCERT_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "NYCERT_FUZZ needs clang: configure with CXX=clang++")
  endif()
  set(NYCERT_SANITIZE ON)
  set(NYCERT_BUILD_FUZZ ON)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(NYCERT_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined -fno-sanitize-recover=all)
endif()

# The data-race build: ThreadSanitizer cannot be combined with AddressSanitizer.
option(NYCERT_TSAN "Build everything with ThreadSanitizer" OFF)
if(NYCERT_TSAN)
  if(NYCERT_SANITIZE)
    message(FATAL_ERROR "NYCERT_TSAN and NYCERT_SANITIZE exclude each other")
  endif()
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
endif()

