# Warnings for the project's own code, and the sanitizer builds.

function(nycert_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wformat=2 -Wnon-virtual-dtor)
  if(NYCERT_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

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

# The fuzzing build (clang): library code gets coverage instrumentation and
# the fuzz targets link against libFuzzer.
option(NYCERT_LIBFUZZER "Link the fuzz targets with libFuzzer (clang only)" OFF)
if(NYCERT_LIBFUZZER)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
