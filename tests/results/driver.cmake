# The results driver, heart rate and beat counts.
holter_add_test(tst_heartrate SOURCES tst_heartrate.cpp LIBS holter_results)
holter_add_test(tst_resultsdriver SOURCES tst_resultsdriver.cpp LIBS holter_results)
