# The processing driver: its signals, their order and a cancel in each stage.
holter_add_test(tst_studyprocessor
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_studyprocessor.cpp
    LIBS holter_analysis Qt5::Test)
