# vtecgz codec tests: PPMd variant H, the difference stream and the compressed file.
holter_add_test(tst_ecgcompression
    SOURCES
        ${CMAKE_CURRENT_LIST_DIR}/tst_ecgcompression.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tst_differencestream.cpp
    LIBS holter_ecgcodec holter_simulator holter_recorder)
holter_add_test(tst_ppmd
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_ppmd.cpp
    LIBS holter_ecgcodec holter_simulator holter_recorder)
