# LRC text and the lyrics service's reply, both from outside the program.
zelvaro_add_fuzzer(fuzz_lrc lrc_fuzz.cpp)
zelvaro_add_fuzzer(fuzz_lrclib_reply lrclib_reply_fuzz.cpp)
