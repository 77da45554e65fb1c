# beats tests
holter_add_test(tst_beats
    SOURCES
        ${CMAKE_CURRENT_LIST_DIR}/tst_beatlist.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tst_beatfile.cpp
    LIBS holter_beats)
