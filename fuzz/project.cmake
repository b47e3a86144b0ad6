# Whole projects. Run: project_fuzz <work folder> fuzz/corpus/project
marvo_fuzz(project project_fuzz.cpp app)
target_include_directories(project_fuzz PRIVATE "${CMAKE_SOURCE_DIR}/tests/app" "${CMAKE_SOURCE_DIR}/tests/support")
target_compile_options(marvo_composition PRIVATE -fsanitize=fuzzer-no-link)
