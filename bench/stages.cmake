add_executable(stagetimer ${CMAKE_CURRENT_LIST_DIR}/stagetimer.cpp)
