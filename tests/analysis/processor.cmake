# The processing driver: its signals, their order and a cancel in each stage.
holter_add_test(tst_studyprocessor
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_studyprocessor.cpp
    LIBS holter_analysis Qt5::Test)

# The literal type rules against a summary of their labels on two MIT-BIH records.
holter_add_test(tst_literalgolden
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_literalgolden.cpp
    LIBS holter_analysis holter_recorder)
target_compile_definitions(tst_literalgolden PRIVATE
    LITERAL_GOLDEN_FILE="${CMAKE_CURRENT_LIST_DIR}/golden/literal_labels.txt")
