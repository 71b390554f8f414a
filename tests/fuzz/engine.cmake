# What the engine reads of the media itself before a decoder does: the NAL
# headers of H.264 access units.
zelvaro_add_fuzzer(h264_access_unit h264_access_unit_fuzz.cpp
                   SOURCES engine/lead_in_skip.cpp LIBRARIES PkgConfig::GST)
