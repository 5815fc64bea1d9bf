# Acquisition timing program: CPU while recording, download speed, sample timing, journal
# cost, publishing to a broker. Include from bench/CMakeLists.txt. Needs the meter simulator
# (POSIX systems); the broker of its publishing runs come from the test support of
# tests/publish (mosquitto on 127.0.0.1).
if(UNIX AND TARGET publish_test_support)
  add_executable(acquisition_bench ${CMAKE_CURRENT_LIST_DIR}/acquisition_bench.cpp)
  target_link_libraries(acquisition_bench PRIVATE quvo_acquisition quvo_publish quvo_metersim publish_test_support Qt6::Core)
  target_compile_definitions(acquisition_bench PRIVATE QUVO_METERSIM_PATH="$<TARGET_FILE:quvolink-metersim>")
  add_dependencies(acquisition_bench quvolink-metersim)
  quvo_warnings(acquisition_bench)
elseif(UNIX)
  message(STATUS "acquisition_bench needs the test support (QUVO_BUILD_TESTS): not built")
endif()

# A recording of days on a clock the benchmark moves: memory and CPU across many full
# documents (recording_soak_bench.cpp).
if(UNIX)
  add_executable(recording_soak_bench ${CMAKE_CURRENT_LIST_DIR}/recording_soak_bench.cpp)
  target_link_libraries(recording_soak_bench PRIVATE quvo_acquisition Qt6::Core)
  target_compile_definitions(recording_soak_bench PRIVATE QUVO_METERSIM_PATH="$<TARGET_FILE:quvolink-metersim>")
  add_dependencies(recording_soak_bench quvolink-metersim)
  quvo_warnings(recording_soak_bench)
endif()
