# MIDI streams. Run: midi_fuzz <work folder> fuzz/corpus/midi
marvo_fuzz(midi midi_fuzz.cpp endpoints/midi)
target_include_directories(midi_fuzz PRIVATE "${CMAKE_SOURCE_DIR}/tests/support")
