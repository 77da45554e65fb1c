# Beat edits that keep beats, classes and counted results in step.
holter_add_test(tst_studyedits SOURCES tst_studyedits.cpp LIBS holter_store)
