# zip archives and study archives (vtz)
holter_add_test(tst_qzipfile SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_qzipfile.cpp LIBS holter_zip)
holter_add_test(tst_studyarchive
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_studyarchive.cpp
    LIBS holter_store)
