# Runs after cpack has installed into its own folder, and before it packs that. Installing takes the modes of some
# folders from the umask; here all get the usual ones.
file(GLOB_RECURSE entries LIST_DIRECTORIES ON "${CPACK_TEMPORARY_DIRECTORY}/*")
foreach(entry IN LISTS entries)
  if(IS_DIRECTORY "${entry}")
    file(CHMOD "${entry}" PERMISSIONS ${CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
  endif()
endforeach()
