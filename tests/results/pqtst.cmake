# PR, QT and ST from the 20-second average beats.
holter_add_test(tst_intervalanalyzers
    SOURCES tst_pranalyzer.cpp tst_qtanalyzer.cpp tst_stanalyzer.cpp tst_averagebeatanalyzer.cpp
    LIBS holter_results)
