# The OSC template language. Run: template_fuzz <work folder> fuzz/corpus/template
add_executable(template_fuzz template_fuzz.cpp)
add_dependencies(fuzzers template_fuzz)
target_link_libraries(template_fuzz PRIVATE marvo_tracks)
target_include_directories(template_fuzz PRIVATE "${CMAKE_SOURCE_DIR}/tests/support")
target_compile_options(template_fuzz PRIVATE -fsanitize=fuzzer)
target_link_options(template_fuzz PRIVATE -fsanitize=fuzzer)
# Without this the fuzzer sees the branches of the slow reading only.
target_compile_options(marvo_tracks PRIVATE -fsanitize=fuzzer-no-link)
target_compile_options(marvo_controls PRIVATE -fsanitize=fuzzer-no-link)
