# holter-cli process and analyze, run as a process on simulated cards.
holter_add_test(tst_process SOURCES tst_process.cpp LIBS holter_store holter_recorder)
target_compile_definitions(tst_process PRIVATE HOLTER_CLI="$<TARGET_FILE:holter-cli>")
add_dependencies(tst_process holter-cli)
