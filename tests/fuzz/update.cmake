# The update server's reply, read before anything is trusted.
zelvaro_add_fuzzer(update_reply update_reply_fuzz.cpp
                   SOURCES update/update_info.cpp
                   LIBRARIES zelvaro_foundation nlohmann_json::nlohmann_json)
