# holter-cli export, run as a process on studies made through the repository.
holter_add_test(tst_export SOURCES tst_export.cpp LIBS holter_store holter_recorder)
target_compile_definitions(tst_export PRIVATE HOLTER_CLI="$<TARGET_FILE:holter-cli>")
add_dependencies(tst_export holter-cli)
