# Runs when installing begins. Sets OX_MISSING to the folders on the way to each of OX_FOLDERS that do not exist yet,
# and appends the topmost of each way to the file OX_NOTES.
set(OX_MISSING "")
foreach(folder IN LISTS OX_FOLDERS)
  cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}")
  set(missing "")
  # "/" is missing where DESTDIR is.
  while(NOT folder STREQUAL "/" AND NOT EXISTS "$ENV{DESTDIR}${folder}")
    set(missing "${folder}")
    list(APPEND OX_MISSING "$ENV{DESTDIR}${folder}")
    cmake_path(GET folder PARENT_PATH folder)
  endwhile()
  if(missing)
    file(APPEND "${OX_NOTES}" "$ENV{DESTDIR}${missing}\n")
  endif()
endforeach()
