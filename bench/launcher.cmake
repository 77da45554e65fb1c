# The launcher window processing a simulated day: run time and the event loop's longest gap.
add_executable(bench_launcher ${CMAKE_CURRENT_LIST_DIR}/bench_launcher.cpp)
target_link_libraries(bench_launcher PRIVATE holter_shellui holter_import holter_simulator
    Qt5::Widgets Qt5::Test)
