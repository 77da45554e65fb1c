# holter-cli results, run as a process on a study with hand-made beats.
holter_add_test(tst_cliresults SOURCES tst_cliresults.cpp LIBS holter_store)
target_compile_definitions(tst_cliresults PRIVATE HOLTER_CLI="$<TARGET_FILE:holter-cli>")
add_dependencies(tst_cliresults holter-cli)
