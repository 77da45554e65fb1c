add_executable(bench_ishnewrite ${CMAKE_CURRENT_LIST_DIR}/bench_ishnewrite.cpp)
target_link_libraries(bench_ishnewrite PRIVATE Qt5::Core)
