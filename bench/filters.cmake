# The wavelet bank over a synthetic day of ECG: speed and flat memory.
add_executable(bench_wavelet ${CMAKE_CURRENT_LIST_DIR}/bench_wavelet.cpp)
target_link_libraries(bench_wavelet PRIVATE holter_analysis)
