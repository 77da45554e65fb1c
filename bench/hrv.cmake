# HRV over a synthetic day: NN collection, time domain, TINN fit, Burg spectra.
add_executable(bench_hrv ${CMAKE_CURRENT_LIST_DIR}/bench_hrv.cpp)
target_link_libraries(bench_hrv PRIVATE holter_results)
