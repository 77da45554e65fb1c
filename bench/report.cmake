# The whole Holter report of a processed synthetic day to PDF.
add_executable(bench_report ${CMAKE_CURRENT_LIST_DIR}/bench_report.cpp)
target_link_libraries(bench_report PRIVATE holter_holterreport Qt5::Gui)
