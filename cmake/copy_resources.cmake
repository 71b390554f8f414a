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
