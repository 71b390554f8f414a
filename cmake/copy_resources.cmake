# Mirrors the resource folders that exist (Language/, skins/) into the
# folder beside the executable. Run with -DSOURCE_DIR=... -DDEST_DIR=...
foreach(folder Language skins)
  if(EXISTS "${SOURCE_DIR}/${folder}")
    file(COPY "${SOURCE_DIR}/${folder}" DESTINATION "${DEST_DIR}")
  endif()
endforeach()
