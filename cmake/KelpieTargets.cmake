# Targets from folders. Sources are found by folder, so that a new file needs no entry anywhere
# and two people who add files do not meet in one CMakeLists.txt. An empty folder is no error.

# The .cpp files of FOLDER (not of its subfolders) into the variable OUT.
function(kelpie_sources OUT FOLDER)
  file(GLOB found CONFIGURE_DEPENDS "${FOLDER}/*.cpp")
  set(${OUT} "${found}" PARENT_SCOPE)
endfunction()

# The same with those of its subfolders.
function(kelpie_sources_below OUT FOLDER)
  file(GLOB_RECURSE found CONFIGURE_DEPENDS "${FOLDER}/*.cpp")
  set(${OUT} "${found}" PARENT_SCOPE)
endfunction()

# kelpie_add_layer(NAME FOLDER <folder> [USES <library>...])
# A library of the sources of the folder, main.cpp left out. A layer without a source is an
# INTERFACE library, so that others may link it all the same.
function(kelpie_add_layer NAME)
  cmake_parse_arguments(PARSE_ARGV 1 layer "" "FOLDER" "USES")
  kelpie_sources(sources "${CMAKE_CURRENT_SOURCE_DIR}/${layer_FOLDER}")
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  if(sources)
    add_library(${NAME} STATIC ${sources})
    target_link_libraries(${NAME} PRIVATE kelpie_warnings PUBLIC kelpie_includes ${layer_USES})
  else()
    add_library(${NAME} INTERFACE)
    target_link_libraries(${NAME} INTERFACE kelpie_includes ${layer_USES})
  endif()
endfunction()

# Builds every program that a user starts, and nothing else.
add_custom_target(kelpie_programs)

# kelpie_add_program(NAME MAIN <file> [USES <library>...]): an executable of one main.cpp.
# Nothing when that file does not exist yet.
function(kelpie_add_program NAME)
  cmake_parse_arguments(PARSE_ARGV 1 program "" "MAIN" "USES")
  if(NOT EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${program_MAIN}")
    return()
  endif()
  add_executable(${NAME} "${program_MAIN}")
  target_link_libraries(${NAME} PRIVATE kelpie_warnings ${program_USES})
  set_target_properties(${NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
  add_dependencies(kelpie_programs ${NAME})
  install(TARGETS ${NAME} RUNTIME DESTINATION bin COMPONENT kelpie)
endfunction()

# Enters FOLDER when it has a CMakeLists.txt of its own.
macro(kelpie_add_folder_if_it_builds FOLDER)
  if(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${FOLDER}/CMakeLists.txt")
    add_subdirectory("${FOLDER}")
  endif()
endmacro()
