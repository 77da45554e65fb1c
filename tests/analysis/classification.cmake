# Beat classification and type assignment.
holter_add_test(tst_classification
    SOURCES
        ${CMAKE_CURRENT_LIST_DIR}/tst_classifier.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tst_typeassign.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tst_labelrefinement.cpp
    LIBS holter_analysis)
