# The vtecgz codec on a simulated day, beside xz and zstd.
add_executable(bench_ecgcodec ${CMAKE_CURRENT_LIST_DIR}/bench_ecgcodec.cpp)
target_link_libraries(bench_ecgcodec PRIVATE holter_ecgcodec holter_simulator Qt5::Core)
