# Morphology classes and their container.
holter_add_test(tst_beatclass
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_beatclass.cpp
    LIBS holter_beats)
