# Language files (a user may drop any file into Language/) and the paths and
# addresses the player is asked to open.
zelvaro_add_fuzzer(language_file language_file_fuzz.cpp LIBRARIES zelvaro_foundation)
zelvaro_add_fuzzer(input_path input_path_fuzz.cpp LIBRARIES zelvaro_foundation)
