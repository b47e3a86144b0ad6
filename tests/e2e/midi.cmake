# MIDI through sound systems that run for real. Each test has a world of its own, see midi_main.cpp.
find_package(PkgConfig REQUIRED)
pkg_check_modules(JACK REQUIRED IMPORTED_TARGET jack)
pkg_check_modules(ALSA REQUIRED IMPORTED_TARGET alsa)
add_library(marvo_e2e_midi STATIC midi_crash.cpp midi_jack_peer.cpp midi_jack_server.cpp midi_main.cpp
  midi_peer.cpp midi_peer_ports.cpp midi_suite.cpp midi_alsa_peer.cpp)
target_include_directories(marvo_e2e_midi PUBLIC "${CMAKE_SOURCE_DIR}/tests/support")
target_link_libraries(marvo_e2e_midi PUBLIC marvo_endpoints_midi GTest::gmock GTest::gtest
  PRIVATE PkgConfig::JACK PkgConfig::ALSA)

add_executable(test_e2e_midi_jack midi_jack_test.cpp)
target_link_libraries(test_e2e_midi_jack PRIVATE marvo_e2e_midi)
# They play in real time: a sound server that is kept waiting loses a cycle with all that is in it.
gtest_discover_tests(test_e2e_midi_jack TEST_PREFIX "e2e: " DISCOVERY_TIMEOUT 120
  PROPERTIES TIMEOUT 120 RUN_SERIAL TRUE)

# The application on top of it, and a desk that it learns.
add_executable(test_e2e_desk_jack desk_jack_test.cpp)
target_include_directories(test_e2e_desk_jack PRIVATE "${CMAKE_SOURCE_DIR}/tests/app")
target_link_libraries(test_e2e_desk_jack PRIVATE marvo_e2e_midi marvo_headless)
gtest_discover_tests(test_e2e_desk_jack TEST_PREFIX "e2e: " DISCOVERY_TIMEOUT 120
  PROPERTIES TIMEOUT 120 RUN_SERIAL TRUE)

# Needs a kernel with a sequencer, and cards to pull out: run by scripts/alsa-vm.sh.
add_executable(test_e2e_midi_alsa midi_alsa_test.cpp)
target_link_libraries(test_e2e_midi_alsa PRIVATE marvo_e2e_midi)
