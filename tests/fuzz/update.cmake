# The update server's reply, read before anything is trusted.
zelvaro_add_fuzzer(fuzz_update_reply update_reply_fuzz.cpp)
