holter_add_test(tst_cardimport SOURCES tst_cardimport.cpp LIBS holter_import)
