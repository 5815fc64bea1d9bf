# Forwarding benchmark: a 32767-row document written through the workbook interface to
# a new .xlsx file and grafted into an existing one. Include from bench/CMakeLists.txt.
find_package(benchmark REQUIRED)
add_executable(forward_bench ${CMAKE_CURRENT_LIST_DIR}/forward_bench.cpp)
target_link_libraries(forward_bench PRIVATE quvo_forward benchmark::benchmark Qt6::Core)
quvo_warnings(forward_bench)
