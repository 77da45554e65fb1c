# EDF/BDF and ISHNE imports from hand-made files, and the EDF+/WFDB exports.
holter_add_test(tst_edfimport SOURCES tst_edfimport.cpp LIBS holter_import)
