# Ectopy, rate events, atrial fibrillation and the event catalog.
holter_add_test(tst_ectopy SOURCES tst_ectopy.cpp LIBS holter_results)
holter_add_test(tst_rateevents SOURCES tst_rateevents.cpp LIBS holter_results)
holter_add_test(tst_afib SOURCES tst_afib.cpp LIBS holter_results)
holter_add_test(tst_eventcatalog SOURCES tst_eventcatalog.cpp LIBS holter_results)
holter_add_test(tst_afibmitdb SOURCES tst_afibmitdb.cpp LIBS holter_results holter_recorder)
