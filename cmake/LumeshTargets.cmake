# Shared compile settings and the helper that makes one library per layer.

add_library(lumesh_warnings INTERFACE)
target_compile_options(lumesh_warnings INTERFACE -Wall -Wextra -Wpedantic)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(lumesh_warnings INTERFACE -Wshadow=local)
  # GCC 12 reports overlapping copies inside libstdc++'s string concatenation
  # that cannot happen (a known false positive of -Wrestrict at -O3).
  if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(lumesh_warnings INTERFACE -Wno-restrict)
  endif()
else()
  target_compile_options(lumesh_warnings INTERFACE -Wshadow-uncaptured-local)
endif()
if(LUMESH_STRICT)
  target_compile_options(lumesh_warnings INTERFACE -Werror)
endif()

if(LUMESH_SANITIZE)
  # Pools hand memory to the system allocator in this build, so that the
  # sanitizers see every object's lifetime.
  add_compile_definitions(LUMESH_NO_POOLS=1)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=address,undefined)
endif()

if(LUMESH_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "LUMESH_FUZZ needs clang: configure with -DCMAKE_CXX_COMPILER=clang++")
  endif()
  # Coverage hooks for libFuzzer in every library, but not its main: that is
  # linked into the fuzz programs alone (fuzz/CMakeLists.txt), so that any
  # other program of the tree still links. Errors must not recover, or
  # UndefinedBehaviorSanitizer would print and the fuzzer would go on.
  add_compile_definitions(LUMESH_NO_POOLS=1)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=address,undefined)
endif()

# lumesh_layer(NAME DIR DEPS...): a static library of every .cpp below DIR
# (tests and benchmarks live elsewhere), with the repository root as include root.
function(lumesh_layer name dir)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/${dir}/*.cpp")
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC "${CMAKE_SOURCE_DIR}")
  target_link_libraries(${name} PUBLIC ${ARGN} PRIVATE lumesh_warnings)
endfunction()

# The host's Lisp runtime: ECL, with the flags its own configuration tool gives.
function(lumesh_find_ecl)
  find_program(ECL_CONFIG ecl-config REQUIRED)
  execute_process(COMMAND ${ECL_CONFIG} --cflags OUTPUT_VARIABLE cflags OUTPUT_STRIP_TRAILING_WHITESPACE)
  execute_process(COMMAND ${ECL_CONFIG} --ldflags OUTPUT_VARIABLE ldflags OUTPUT_STRIP_TRAILING_WHITESPACE)
  separate_arguments(cflags UNIX_COMMAND "${cflags}")
  separate_arguments(ldflags UNIX_COMMAND "${ldflags}")
  add_library(ecl_runtime INTERFACE)
  target_compile_options(ecl_runtime INTERFACE ${cflags})
  target_link_options(ecl_runtime INTERFACE ${ldflags})
  target_link_libraries(ecl_runtime INTERFACE ecl gc)
endfunction()
