# Compiler settings that hold for every target, and the target that carries the warnings.

# Unchanged files are not compiled twice, also not across two checkouts of the project.
find_program(KELPIE_CCACHE ccache)
if(KELPIE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER
      "${CMAKE_COMMAND}" -E env "CCACHE_BASEDIR=${CMAKE_SOURCE_DIR}" CCACHE_NOHASHDIR=1
      "CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime"
      "${KELPIE_CCACHE}")
endif()

add_library(kelpie_warnings INTERFACE)
target_compile_options(kelpie_warnings INTERFACE
  -Wall -Wextra "$<$<COMPILE_LANGUAGE:CXX>:-Wpedantic>" -Wconversion -Wshadow)
# Apple's compilers come and go with the system, so what a new one warns of ends no build there.
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "AppleClang")
  target_compile_options(kelpie_warnings INTERFACE -Werror)
endif()

# What a lock guards is annotated (src/foundation/ThreadSafety.h), and clang holds the code to it.
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(kelpie_warnings INTERFACE -Wthread-safety -Werror=thread-safety)
endif()

# Calls from a wrong thread or queue end the process where the code is being worked on.
add_compile_definitions($<$<CONFIG:Debug>:KELPIE_THREAD_CHECKS>)

# A quick linker, where there is one: many tests link all of the core.
find_program(KELPIE_LLD ld.lld)
if(KELPIE_LLD AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
  add_link_options(-fuse-ld=lld)
endif()

# Several sources are compiled as one where a preset asks for that: most of the time goes into the
# headers, which they share. The preset for development compiles each by itself, so that a missing
# include is found.
set(CMAKE_UNITY_BUILD_BATCH_SIZE 16)
if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # What it takes for a header is a source.
  target_compile_options(kelpie_warnings INTERFACE -Wno-subobject-linkage)
endif()

if(KELPIE_SANITIZE)
  add_compile_options(
    "-fsanitize=${KELPIE_SANITIZE}" -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options("-fsanitize=${KELPIE_SANITIZE}")
endif()
if(KELPIE_COVERAGE)
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fprofile-instr-generate)
endif()
# What users run ends where a mistake of ours would overwrite a stack, a buffer or the table of called
# functions, before anybody makes use of it. Builds for debugging and for sanitizers check more.
set(KELPIE_HARDENED OFF)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug" AND
   NOT KELPIE_SANITIZE AND NOT KELPIE_COVERAGE)
  set(KELPIE_HARDENED ON)
  add_compile_options(
    -fstack-protector-strong -fstack-clash-protection -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
  add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()

if(KELPIE_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "KELPIE_FUZZ needs clang; use the preset asan.")
  endif()
  # The standard library ends the process when it is asked for what is not there, such as the value
  # of an optional that has none.
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()
# What is fuzzed tells the fuzzer what it does: the layers of src/ and the agent. The fuzzer's own
# main() is linked to the fuzz targets only (see fuzz/CMakeLists.txt).
add_library(kelpie_fuzzed INTERFACE)
if(KELPIE_FUZZ)
  target_compile_options(kelpie_fuzzed INTERFACE -fsanitize=fuzzer-no-link)
endif()
