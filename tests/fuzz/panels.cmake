# The desktop's mimeapps.list, which other programs write too.
zelvaro_add_fuzzer(mime_apps_list mime_apps_list_fuzz.cpp
                   SOURCES panels/mime_apps_list.cpp LIBRARIES Qt6::Core)
