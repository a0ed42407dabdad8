# The libraries of layers.txt, one for each folder. A layer is linked only with what its row names,
# and with what that needs, so a call that goes the wrong way does not link.

set(KELPIE_LAYER_TABLE "${CMAKE_CURRENT_LIST_DIR}/layers.txt")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${KELPIE_LAYER_TABLE}")

# The library of a folder, as layers.txt names folders: kelpie_linux_base of "linux/base".
function(kelpie_layer_target OUT FOLDER)
  string(REPLACE "/" "_" name "${FOLDER}")
  set(${OUT} "kelpie_${name}" PARENT_SCOPE)
endfunction()

# What stands for <name> of a row: a library of the system, or none.
function(kelpie_foreign_target OUT NAME)
  if(NAME STREQUAL "gio")
    set(${OUT} PkgConfig::GIO PARENT_SCOPE)
  elseif(NAME STREQUAL "json")
    set(${OUT} nlohmann_json::nlohmann_json PARENT_SCOPE)
  else()
    set(${OUT} "" PARENT_SCOPE)
  endif()
endfunction()

# The part of the house that a row of layers.txt belongs to: what has the same outside libraries.
function(kelpie_layer_part OUT ROW)
  if(ROW MATCHES "^src/(protocol/hostlink|linux/|platform/linux)")
    set(${OUT} linux PARENT_SCOPE)
  elseif(ROW MATCHES "^src/")
    set(${OUT} core PARENT_SCOPE)
  elseif(ROW MATCHES "^app/cli")
    set(${OUT} cli PARENT_SCOPE)
  else()
    set(${OUT} agent PARENT_SCOPE)
  endif()
endfunction()

# Under a sanitizer, the layers of a part are one library of a few large sources: their headers, and
# the templates that they share, are what takes the time. Calls that go the wrong way link in such a
# build; in the others they do not.
option(KELPIE_LAYERS_TOGETHER "Compile all layers of a part of the house together" OFF)

# A file's local name may be another file's name there.
add_library(kelpie_together INTERFACE)
target_compile_options(kelpie_together INTERFACE -Wno-shadow)

# kelpie_add_layer_to_part(NAME PART FOLDER <folder> USES <library>...): the layer NAME as a name of
# the library of its part, which gets the folder's sources.
function(kelpie_add_layer_to_part NAME PART)
  cmake_parse_arguments(PARSE_ARGV 2 layer "" "FOLDER" "USES")
  kelpie_sources(sources "${CMAKE_CURRENT_SOURCE_DIR}/${layer_FOLDER}")
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  set(part "kelpie_part_${PART}")
  if(NOT TARGET ${part})
    add_library(${part} STATIC)
    target_link_libraries(${part} PRIVATE kelpie_warnings kelpie_together PUBLIC kelpie_includes)
    set_target_properties(${part} PROPERTIES UNITY_BUILD_BATCH_SIZE 32)
    if(PART STREQUAL "cli")
      # It lives for a moment at a time, in which it waits for the others.
      target_compile_options(${part} PRIVATE -O0)
    else()
      target_link_libraries(${part} PRIVATE kelpie_fuzzed)
    endif()
  endif()
  target_sources(${part} PRIVATE ${sources})
  add_library(${NAME} INTERFACE)
  target_link_libraries(${NAME} INTERFACE ${part})
  # The part reaches itself through the names of its layers.
  target_link_libraries(${part} PUBLIC ${layer_USES})
endfunction()

# kelpie_add_layers(TOP): the layers below TOP (src, app or filemanagers). A folder with a CMakeLists.txt of its
# own says itself how it is built. What needs an operating system is for Linux. The names of the
# libraries are appended to KELPIE_LAYERS in the caller.
function(kelpie_add_layers TOP)
  set(layers "")
  file(STRINGS "${KELPIE_LAYER_TABLE}" rows REGEX "^${TOP}/")
  foreach(row IN LISTS rows)
    if(NOT row MATCHES "^${TOP}/([^ ]+) :(.*)$")
      message(FATAL_ERROR "layers.txt: not a row: ${row}")
    endif()
    set(folder "${CMAKE_MATCH_1}")
    string(STRIP "${CMAKE_MATCH_2}" uses)
    separate_arguments(uses UNIX_COMMAND "${uses}")
    if(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${folder}/CMakeLists.txt")
      continue()
    endif()
    if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux" AND row MATCHES "linux|<")
      continue()
    endif()
    set(libraries "")
    foreach(use IN LISTS uses)
      if(use MATCHES "^<(.*)>$")
        kelpie_foreign_target(library "${CMAKE_MATCH_1}")
      else()
        kelpie_layer_target(library "${use}")
      endif()
      list(APPEND libraries ${library})
    endforeach()
    if(TARGET kelpie_${TOP}_includes)
      list(APPEND libraries kelpie_${TOP}_includes)
    endif()
    kelpie_layer_target(name "${folder}")
    if(KELPIE_LAYERS_TOGETHER AND NOT TOP STREQUAL "filemanagers")
      kelpie_layer_part(part "${row}")
      kelpie_add_layer_to_part(${name} ${part} FOLDER "${folder}" USES ${libraries})
    else()
      kelpie_add_layer(${name} FOLDER "${folder}" USES ${libraries})
      if(row MATCHES "^(src|app/agent)")
        target_link_libraries(${name} PRIVATE kelpie_fuzzed)
      endif()
    endif()
    list(APPEND layers ${name})
  endforeach()
  set(KELPIE_LAYERS ${KELPIE_LAYERS} ${layers} PARENT_SCOPE)
endfunction()
