# WFDB records: the reader against hand-made and reference records, and the import into a study.
holter_add_test(tst_wfdbrecord SOURCES tst_wfdbrecord.cpp LIBS holter_recorder)
holter_add_test(tst_wfdbimport SOURCES tst_wfdbimport.cpp LIBS holter_import)
