# Beat detection and wave delineation.
holter_add_test(tst_detection
    SOURCES
        ${CMAKE_CURRENT_LIST_DIR}/tst_detectparts.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tst_detector.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tst_delineation.cpp
    LIBS holter_analysis)
