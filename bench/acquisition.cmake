# Acquisition timing program: CPU while recording, download speed, sample timing, journal
# cost. Include from bench/CMakeLists.txt. Needs the meter simulator (POSIX systems).
if(UNIX)
  add_executable(acquisition_bench ${CMAKE_CURRENT_LIST_DIR}/acquisition_bench.cpp)
  target_link_libraries(acquisition_bench PRIVATE quvo_acquisition quvo_metersim Qt6::Core)
  target_compile_definitions(acquisition_bench PRIVATE QUVO_METERSIM_PATH="$<TARGET_FILE:quvolink-metersim>")
  add_dependencies(acquisition_bench quvolink-metersim)
  quvo_warnings(acquisition_bench)
endif()
