# marvo_floor(<path> SOURCES <files> [HEADERS <files>] [BELOW <floors>] [LIBS <targets>] [PRIVATE_LIBS <targets>])
#
# A floor is one folder below src/ and one static library, named marvo_<path with underscores>. The include root
# of a floor shows that folder alone, reached as "<path>/Header.h"; the roots of the floors it links to come along
# with the link. A header of a higher floor is therefore not on the path, and including it does not compile.
function(marvo_floor path)
  cmake_parse_arguments(F "" "" "SOURCES;HEADERS;BELOW;LIBS;PRIVATE_LIBS" ${ARGN})
  string(REPLACE "/" "_" name "${path}")
  set(root "${CMAKE_BINARY_DIR}/include/${name}")
  get_filename_component(parent "${root}/${path}" DIRECTORY)
  file(MAKE_DIRECTORY "${parent}")
  if(NOT EXISTS "${root}/${path}")
    file(CREATE_LINK "${CMAKE_SOURCE_DIR}/src/${path}" "${root}/${path}" SYMBOLIC)
  endif()
  if(NOT F_SOURCES)
    # Written once: a newer file at each configuration would rebuild all that rests on it.
    if(NOT EXISTS "${CMAKE_BINARY_DIR}/empty_${name}.cpp")
      file(WRITE "${CMAKE_BINARY_DIR}/empty_${name}.cpp" "")
    endif()
    set(F_SOURCES "${CMAKE_BINARY_DIR}/empty_${name}.cpp")
  endif()
  add_library(marvo_${name} STATIC ${F_SOURCES} ${F_HEADERS})
  target_include_directories(marvo_${name} PUBLIC "${root}")
  foreach(below IN LISTS F_BELOW)
    string(REPLACE "/" "_" below_name "${below}")
    if(NOT TARGET marvo_${below_name})
      message(FATAL_ERROR "Floor ${path} cannot rest on ${below}: it is not below it")
    endif()
    target_link_libraries(marvo_${name} PUBLIC marvo_${below_name})
  endforeach()
  target_link_libraries(marvo_${name} PUBLIC Threads::Threads ${F_LIBS} PRIVATE ${F_PRIVATE_LIBS})
endfunction()

# marvo_test(<floor path> SOURCES <files> [LIBS <targets>])
#
# One test program a floor, linked to that floor alone: a hidden dependency is a link error.
function(marvo_test path)
  cmake_parse_arguments(T "" "" "SOURCES;LIBS" ${ARGN})
  string(REPLACE "/" "_" name "${path}")
  add_executable(test_${name} ${T_SOURCES})
  target_link_libraries(test_${name} PRIVATE marvo_${name} GTest::gmock GTest::gtest GTest::gtest_main ${T_LIBS})
  target_include_directories(test_${name} PRIVATE "${CMAKE_SOURCE_DIR}/tests/support")
  # What is tested is optimized as ever; the tests themselves take half as long to compile without.
  target_compile_options(test_${name} PRIVATE -O0)
  gtest_discover_tests(test_${name} TEST_PREFIX "${path}: " DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 120)
endfunction()
