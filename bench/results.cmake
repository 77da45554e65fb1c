# All results of a simulated day, timed over the processed study's beats file.
add_executable(bench_results ${CMAKE_CURRENT_LIST_DIR}/bench_results.cpp)
target_link_libraries(bench_results PRIVATE holter_results holter_analysis holter_import
    holter_simulator holter_store Qt5::Core)
