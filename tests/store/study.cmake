holter_add_test(tst_study
    SOURCES tst_studyrepository.cpp tst_studyfile.cpp tst_studyrobustness.cpp
    LIBS holter_store)
