# The Holter report: placeholders, section plan, the templates and whole reports as PDF text.
holter_add_test(tst_holterreport PAINT SOURCES tst_holterreport.cpp
    LIBS holter_holterreport)
