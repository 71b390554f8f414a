# The subtitle readers on arbitrary bytes: SAMI, SubRip, WebVTT, each behind
# the text decoding that every subtitle file goes through.
zelvaro_add_fuzzer(sami sami_fuzz.cpp LIBRARIES zelvaro_subtitles)
zelvaro_add_fuzzer(srt srt_fuzz.cpp LIBRARIES zelvaro_subtitles)
zelvaro_add_fuzzer(webvtt webvtt_fuzz.cpp LIBRARIES zelvaro_subtitles)
# An embedded stream's header and samples as libass gets them, and the text
# of a sample made into an event's text.
zelvaro_add_fuzzer(ass_chunk ass_chunk_fuzz.cpp LIBRARIES zelvaro_subtitles)
zelvaro_add_fuzzer(embedded_text embedded_text_fuzz.cpp LIBRARIES zelvaro_subtitles)
