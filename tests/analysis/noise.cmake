# Noise checking and additional noise removal.
holter_add_test(tst_noisechecker
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_noisechecker.cpp
    LIBS holter_analysis)
