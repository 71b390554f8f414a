# LRC text and the lyrics service's reply, both from outside the program.
zelvaro_add_fuzzer(lrc lrc_fuzz.cpp SOURCES lyrics/lrc_parser.cpp LIBRARIES zelvaro_subtitles)
zelvaro_add_fuzzer(lrclib_reply lrclib_reply_fuzz.cpp
                   SOURCES lyrics/lrc_parser.cpp lyrics/lrclib.cpp
                   LIBRARIES zelvaro_subtitles nlohmann_json::nlohmann_json)
