# Streaming read of a long recording: rate and peak memory of readSamples.
add_executable(bench_readsamples ${CMAKE_CURRENT_LIST_DIR}/bench_readsamples.cpp)
target_link_libraries(bench_readsamples PRIVATE holter_storebase Qt5::Core)
