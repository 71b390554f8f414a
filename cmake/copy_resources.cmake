# Mirrors the resource folders that exist (Language/, skins/) into the
# folder beside the executable. Run with -DSOURCE_DIR=... -DDEST_DIR=...
# The skin's SVG sources and build script stay behind: the build renders the
# PNGs straight into DEST_DIR/skins.
foreach(folder Language skins)
  if(EXISTS "${SOURCE_DIR}/${folder}")
    file(COPY "${SOURCE_DIR}/${folder}" DESTINATION "${DEST_DIR}"
         PATTERN "src" EXCLUDE
         PATTERN "CMakeLists.txt" EXCLUDE)
  endif()
endforeach()

# The licence texts the about dialog shows.
foreach(text License.txt License2.txt)
  if(EXISTS "${SOURCE_DIR}/${text}")
    file(COPY "${SOURCE_DIR}/${text}" DESTINATION "${DEST_DIR}")
  endif()
endforeach()
