# The review's strip and full-disclosure page on a synthetic day.
add_executable(bench_browse ${CMAKE_CURRENT_LIST_DIR}/bench_browse.cpp)
target_link_libraries(bench_browse PRIVATE holter_reviewui Qt5::Widgets Qt5::Test)
