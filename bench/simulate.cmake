# The recording simulator: a full 24-hour card into a temporary folder.
add_executable(bench_simulate ${CMAKE_CURRENT_SOURCE_DIR}/bench_simulate.cpp)
target_link_libraries(bench_simulate PRIVATE holter_simulator Qt5::Core)
