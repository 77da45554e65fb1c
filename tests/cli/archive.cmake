# holter-cli archive and the import of archives, run as a process.
holter_add_test(tst_cliarchive SOURCES tst_cliarchive.cpp LIBS holter_store)
target_compile_definitions(tst_cliarchive PRIVATE HOLTER_CLI="$<TARGET_FILE:holter-cli>")
add_dependencies(tst_cliarchive holter-cli)
