# holter-cli export, run as a process on studies made through the repository.
holter_add_test(tst_export SOURCES tst_export.cpp LIBS holter_store holter_recorder)
target_compile_definitions(tst_export PRIVATE HOLTER_CLI="$<TARGET_FILE:holter-cli>")
add_dependencies(tst_export holter-cli)
# EDF+ and WFDB record exports, back through the imports, and read by another program.
holter_add_test(tst_recordingexport SOURCES tst_recordingexport.cpp LIBS holter_import)
target_compile_definitions(tst_recordingexport PRIVATE HOLTER_CLI="$<TARGET_FILE:holter-cli>")
add_dependencies(tst_recordingexport holter-cli)
