# The subtitle readers on arbitrary bytes: SAMI, SubRip, WebVTT, each behind
# the text decoding that every subtitle file goes through.
zelvaro_add_fuzzer(fuzz_sami sami_fuzz.cpp)
zelvaro_add_fuzzer(fuzz_srt srt_fuzz.cpp)
zelvaro_add_fuzzer(fuzz_webvtt webvtt_fuzz.cpp)
