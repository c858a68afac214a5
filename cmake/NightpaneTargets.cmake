# A folder is a layer is a target: every .cpp of the folder belongs to it, so a file's path says what it
# may include. Tools/check-includes proves the direction.

# Ninja 1.11 reads no list of included files that has an ampersand in a name, so what lies in "Sunset & Sunrise"
# is built again after a change of any header.
function(np_track_headers folder)
  if(folder MATCHES "&")
    file(GLOB_RECURSE headers CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/Sources/*.h" "${CMAKE_SOURCE_DIR}/Tests/*.h")
    set_source_files_properties(${ARGN} PROPERTIES OBJECT_DEPENDS "${headers}")
  endif()
endfunction()

# np_layer(<target> <folder> [<linked target> …])
function(np_layer target folder)
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/Sources/${folder}/*.cpp")
  np_track_headers("${folder}" ${sources})
  if(TARGET ${target})
    target_sources(${target} PRIVATE ${sources})
  else()
    add_library(${target} STATIC ${sources})
    target_link_libraries(${target} PUBLIC nightpane_flags)
  endif()
  target_link_libraries(${target} PUBLIC ${ARGN})
endfunction()

# np_whole_module(<target>): it takes nothing from the program by name, except what sanitizers have there.
function(np_whole_module target)
  if(NOT NP_SANITIZE)
    target_link_options(${target} PRIVATE LINKER:--no-undefined)
  endif()
endfunction()

# np_test(<target> <folder> … LINK <target> …): every *.cpp of the folders of Tests/ in one program.
function(np_test target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LINK")
  set(sources)
  foreach(folder IN LISTS arg_UNPARSED_ARGUMENTS)
    file(GLOB found CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/Tests/${folder}/*.cpp")
    np_track_headers("${folder}" ${found})
    list(APPEND sources ${found})
  endforeach()
  add_executable(${target} ${sources})
  target_include_directories(${target} PRIVATE "${CMAKE_SOURCE_DIR}/Tests")
  target_link_libraries(${target} PRIVATE ${arg_LINK} nightpane_test_data GTest::gtest_main)
  # googletest's macros trip this one
  target_compile_options(${target} PRIVATE -Wno-sign-conversion)
endfunction()
