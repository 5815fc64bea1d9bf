# Data document window benchmark (offscreen): a realtime reading added to a window whose
# chart shows 32767 points, chart redraw and painting included. Include from
# bench/CMakeLists.txt.
find_package(benchmark REQUIRED)
add_executable(window_bench ${CMAKE_CURRENT_LIST_DIR}/window_bench.cpp)
target_link_libraries(window_bench PRIVATE quvo_document_widgets benchmark::benchmark Qt6::Widgets)
quvo_warnings(window_bench)
