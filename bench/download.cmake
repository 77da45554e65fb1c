# A simulated day's card copied through the download dialog.
add_executable(bench_download ${CMAKE_CURRENT_LIST_DIR}/bench_download.cpp)
target_link_libraries(bench_download PRIVATE
    holter_recorderui holter_simulator Qt5::Widgets Qt5::Test)
