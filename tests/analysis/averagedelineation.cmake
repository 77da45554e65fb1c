# Wave limits on averaged beats.
holter_add_test(tst_averagebeatdelineator
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_averagebeatdelineator.cpp
    LIBS holter_analysis)
