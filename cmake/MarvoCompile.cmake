# One set of compile rules for every target.
#
# Output must be the same to the bit on every machine, so contraction into fused multiply-add is off and
# nothing may relax IEEE arithmetic.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

add_compile_options(-ffp-contract=off -fno-fast-math)
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ 12 sees overlaps in std::string's own code that are not there.
  add_compile_options(-Wno-restrict)
endif()
if(MARVO_WERROR)
  add_compile_options(-Werror)
endif()

if(MARVO_SANITIZE)
  add_compile_options(-fsanitize=${MARVO_SANITIZE} -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=${MARVO_SANITIZE})
  if(MARVO_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

find_program(MARVO_CCACHE ccache)
if(MARVO_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${MARVO_CCACHE}")
endif()
# Older compilers do not know the name of this linker even where it is installed.
find_program(MARVO_MOLD mold)
if(MARVO_MOLD AND NOT MARVO_SANITIZE)
  include(CheckLinkerFlag)
  check_linker_flag(CXX -fuse-ld=mold MARVO_LINKS_WITH_MOLD)
  if(MARVO_LINKS_WITH_MOLD)
    add_link_options(-fuse-ld=mold)
  endif()
endif()

find_package(Threads REQUIRED)
