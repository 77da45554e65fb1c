# Heart-rate variability: NN selection, time domain, histogram, TINN, Burg spectrum, bands.
holter_add_test(tst_hrv
    SOURCES tst_hrvtimedomain.cpp tst_hrvspectrum.cpp tst_hrvanalyzer.cpp
    LIBS holter_results)
