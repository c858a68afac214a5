# One target carries every compiler and linker flag; all others link it.
add_library(nightpane_flags INTERFACE)
target_compile_features(nightpane_flags INTERFACE cxx_std_23)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

# -ffp-contract=off: a fused multiply-add rounds once instead of twice and would change the tables' bits.
target_compile_options(nightpane_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wold-style-cast
  -Wcast-align -Woverloaded-virtual -Wdouble-promotion
  -ffp-contract=off -fvisibility=hidden)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ 12 sees overlapping copies in the inlined concatenation of strings, where there are none.
  target_compile_options(nightpane_flags INTERFACE -Wno-restrict)
endif()
target_include_directories(nightpane_flags INTERFACE "${CMAKE_SOURCE_DIR}/Sources")

option(NP_WERROR "Treat warnings as errors" OFF)
if(NP_WERROR)
  target_compile_options(nightpane_flags INTERFACE -Werror)
endif()

set(NP_SANITIZE "" CACHE STRING "Sanitizers to build with, for example address,undefined")
if(NP_SANITIZE)
  # For everything in the build, googletest included.
  add_compile_options(-fsanitize=${NP_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${NP_SANITIZE})
endif()

option(NP_LIBCXX "Use libc++ (clang)" OFF)
if(NP_LIBCXX)
  add_compile_options(-stdlib=libc++)
  add_link_options(-stdlib=libc++)
endif()
