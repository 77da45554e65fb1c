# signal tests: the source interface with its block cache, and the vtecg file.
holter_add_test(tst_storesignal
    SOURCES
        ${CMAKE_CURRENT_LIST_DIR}/tst_signalsource.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tst_ecgfile.cpp
    LIBS holter_storebase)
