# Forwarding benchmark: a 32767-row document written through the workbook interface to
# a new .xlsx file and grafted into an existing one. Include from bench/CMakeLists.txt.
find_package(benchmark REQUIRED)
add_executable(forward_bench ${CMAKE_CURRENT_LIST_DIR}/forward_bench.cpp)
target_link_libraries(forward_bench PRIVATE quvo_forward benchmark::benchmark Qt6::Core)
quvo_warnings(forward_bench)

# File > Forward in the real main window with the real progress dialog and event loop, from
# the OK click to the file on disk (run on a display: Xvfb or the offscreen platform).
find_package(Qt6 REQUIRED COMPONENTS Test)
add_executable(forward_window_bench ${CMAKE_CURRENT_LIST_DIR}/forward_window_bench.cpp)
target_link_libraries(forward_window_bench PRIVATE quvo_app_widgets Qt6::Widgets Qt6::Test)
quvo_warnings(forward_window_bench)
