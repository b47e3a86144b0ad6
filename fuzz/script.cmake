# The timed input of a trace. Run: script_fuzz <work folder> fuzz/corpus/script
marvo_fuzz(script script_fuzz.cpp headless)
target_include_directories(script_fuzz PRIVATE "${CMAKE_SOURCE_DIR}/tests/support")
