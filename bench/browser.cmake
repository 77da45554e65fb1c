# The study browser over a store of 5000 studies: opening with the list filled, and filtering.
add_executable(bench_browser ${CMAKE_CURRENT_LIST_DIR}/bench_browser.cpp)
target_link_libraries(bench_browser PRIVATE holter_shellui Qt5::Widgets Qt5::Test)
