# All five processing stages over a simulated day imported into a temporary store.
add_executable(bench_process ${CMAKE_CURRENT_LIST_DIR}/bench_process.cpp)
target_link_libraries(bench_process PRIVATE holter_analysis holter_import holter_simulator
    holter_store Qt5::Core)
