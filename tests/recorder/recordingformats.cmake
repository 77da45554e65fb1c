# EDF/BDF and ISHNE imports from hand-made files, and the EDF+/WFDB exports.
holter_add_test(tst_edfimport SOURCES tst_edfimport.cpp LIBS holter_import)
holter_add_test(tst_ishneimport SOURCES tst_ishneimport.cpp LIBS holter_import)
