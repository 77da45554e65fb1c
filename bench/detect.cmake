# Beat detection over a synthetic day of three-channel ECG: speed and flat memory.
add_executable(bench_detect ${CMAKE_CURRENT_LIST_DIR}/bench_detect.cpp)
target_link_libraries(bench_detect PRIVATE holter_analysis)
