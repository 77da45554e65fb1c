# A day's study written to a vtz archive and imported back.
add_executable(bench_archive ${CMAKE_CURRENT_LIST_DIR}/bench_archive.cpp)
target_link_libraries(bench_archive PRIVATE holter_import holter_simulator holter_store Qt5::Core)
