# Runs between installing into cpack's folder and packing that: the umask has decided the modes of some folders.
file(GLOB_RECURSE entries LIST_DIRECTORIES ON "${CPACK_TEMPORARY_DIRECTORY}/*")
foreach(entry IN LISTS entries)
  if(IS_DIRECTORY "${entry}")
    file(CHMOD "${entry}" PERMISSIONS ${CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
  endif()
endforeach()
