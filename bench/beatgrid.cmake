# The review's beat grids on a processed simulated day.
add_executable(bench_beatgrid ${CMAKE_CURRENT_LIST_DIR}/bench_beatgrid.cpp)
target_link_libraries(bench_beatgrid PRIVATE holter_reviewui holter_analysis holter_import
    holter_simulator holter_store Qt5::Widgets)
