# Compiler options of every target, stated once.

option(Z_WERROR "Warnings are errors" OFF)
option(Z_TESTS "Build the tests" ON)
option(Z_BENCH "Build the benchmarks" OFF)
option(Z_FUZZ "Build the libFuzzer targets (clang)" OFF)
set(Z_SANITIZE "" CACHE STRING "Sanitizers, comma separated: address,undefined")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

# Packed bytes must not depend on compiler or machine: no contraction into fused multiply-add, no fast-math, and the
# baseline instruction set of the architecture.
add_compile_options(-ffp-contract=off -fno-fast-math)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion)
if(Z_WERROR)
  add_compile_options(-Werror)
endif()

if(Z_SANITIZE)
  add_compile_options(-fsanitize=${Z_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${Z_SANITIZE})
endif()
if(Z_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# A build folder looks like an installed package: bin/animpack finds ../lib.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/archive)
set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/../lib")
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON) # else room for that is left in the build tree's, as empty entries
