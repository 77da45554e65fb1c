# Rhythm analyzers (ectopy, pauses, brady/tachy, atrial fibrillation) over a synthetic day.
add_executable(bench_rhythm ${CMAKE_CURRENT_LIST_DIR}/bench_rhythm.cpp)
target_link_libraries(bench_rhythm PRIVATE holter_results)
