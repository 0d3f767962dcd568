# What `cmake --install` puts where, and the packages that cpack makes of it.

include(CMakePackageConfigHelpers)

# Modes do not depend on the installing user's umask. CMake applies it all the same to folders that it makes for a
# file; the last install(CODE) below corrects these.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

if("$CACHE{CMAKE_INSTALL_DOCDIR}" STREQUAL "")
  set(CMAKE_INSTALL_DOCDIR "${CMAKE_INSTALL_DATAROOTDIR}/doc/converter")
endif()
set(OX_HEADERS_FOLDER "${CMAKE_INSTALL_INCLUDEDIR}/converter")
set(OX_PACKAGE_FOLDER "${CMAKE_INSTALL_LIBDIR}/cmake/Converter")
set(OX_PKGCONFIG_FOLDER "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
set(OX_COMPLETIONS_FOLDER "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")

include(OxPublicHeaders)

# Sets `result` to the folder that a public header is installed into.
function(ox_folder_of result header)
  string(REGEX REPLACE "^[^/]+/Source/(.*)/[^/]+$" "\\1" folder "${header}")
  set(${result} "${OX_HEADERS_FOLDER}/${folder}" PARENT_SCOPE)
endfunction()

# Uninstalling removes the folders that installing made, so those that are missing are noted before it begins.
set(OX_FOLDERS "${CMAKE_INSTALL_BINDIR}" "${CMAKE_INSTALL_MANDIR}/man1" "${OX_COMPLETIONS_FOLDER}"
  "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions"
  "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" "${CMAKE_INSTALL_DATADIR}/mime/packages"
  "${CMAKE_INSTALL_DATADIR}/converter" "${CMAKE_INSTALL_DOCDIR}/Docs" "${CMAKE_INSTALL_DOCDIR}/Trust"
  "${CMAKE_INSTALL_DOCDIR}/Examples/read-archive" "${OX_HEADERS_FOLDER}" "${OX_PACKAGE_FOLDER}" "${OX_PKGCONFIG_FOLDER}")
foreach(header IN LISTS OX_PUBLIC_HEADERS)
  ox_folder_of(folder "${header}")
  list(APPEND OX_FOLDERS "${folder}")
endforeach()
list(REMOVE_DUPLICATES OX_FOLDERS)
install(CODE "set(OX_FOLDERS \"${OX_FOLDERS}\")
  set(OX_NOTES \"${PROJECT_BINARY_DIR}/install_folders.txt\")
  include(\"${PROJECT_SOURCE_DIR}/cmake/NoteFolders.cmake\")" ALL_COMPONENTS)
if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(uninstall
    COMMAND "${CMAKE_COMMAND}" "-DBUILD=${PROJECT_BINARY_DIR}" -P "${PROJECT_SOURCE_DIR}/cmake/Uninstall.cmake"
    COMMENT "Removing what was installed from here" VERBATIM)
endif()

install(TARGETS Converter RUNTIME COMPONENT tool)
# Packages have a compressed manual instead, see OxPackage.cmake.
install(FILES Packaging/Converter.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT site)
install(FILES Packaging/completions/Converter.bash RENAME Converter
  DESTINATION "${OX_COMPLETIONS_FOLDER}" COMPONENT tool)
# Below /usr/local zsh reads site-functions, and on Debian it reads vendor-completions for packages.
install(FILES Packaging/completions/_Converter
  DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" COMPONENT site)
install(FILES Packaging/completions/_Converter
  DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions" COMPONENT tool EXCLUDE_FROM_ALL)
install(FILES Packaging/completions/Converter.fish
  DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" COMPONENT tool)
install(FILES Packaging/converter.xml DESTINATION "${CMAKE_INSTALL_DATADIR}/mime/packages" COMPONENT tool)
install(FILES Packaging/converter.magic RENAME magic
  DESTINATION "${CMAKE_INSTALL_DATADIR}/converter" COMPONENT tool)
# The documents, and all that they link to.
install(FILES README.md CONTRIBUTING.md CHANGES.md TYPE DOC COMPONENT tool)
install(DIRECTORY Docs Trust TYPE DOC COMPONENT tool FILES_MATCHING PATTERN "*.md" PATTERN "*.svg")
install(FILES Examples/read-archive/main.cpp Examples/read-archive/CMakeLists.txt
  DESTINATION "${CMAKE_INSTALL_DOCDIR}/Examples/read-archive" COMPONENT tool)
install(PROGRAMS Examples/release-widget DESTINATION "${CMAKE_INSTALL_DOCDIR}/Examples" COMPONENT tool)

# Builds what installing and packaging need; the tests and benchmarks may stay unbuilt.
add_custom_target(ox_installed DEPENDS Converter ox_builtin_trust ${OX_LIBRARIES})
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

install(TARGETS ${OX_LIBRARIES} ox_builtin_trust ox_all EXPORT ConverterTargets ARCHIVE COMPONENT library)
foreach(header IN LISTS OX_PUBLIC_HEADERS)
  ox_folder_of(folder "${header}")
  install(FILES "${header}" DESTINATION "${folder}" COMPONENT library)
endforeach()
install(EXPORT ConverterTargets NAMESPACE Converter:: DESTINATION "${OX_PACKAGE_FOLDER}" COMPONENT library)
list(JOIN OX_LIBRARIES " " OX_COMPONENTS)
configure_package_config_file(cmake/ConverterConfig.cmake.in "${PROJECT_BINARY_DIR}/ConverterConfig.cmake"
  INSTALL_DESTINATION "${OX_PACKAGE_FOLDER}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/ConverterConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
# `cmake --install` and packages may choose another prefix than configuring did, so converter.pc finds it from its own
# place. Folders that are absolute paths do not move.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(OX_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH OX_PC_PREFIX "/${OX_PKGCONFIG_FOLDER}" "/")
  set(OX_PC_PREFIX "\${pcfiledir}/${OX_PC_PREFIX}")
endif()
foreach(folder LIBDIR INCLUDEDIR)
  cmake_path(APPEND OX_PC_${folder} "\${prefix}" "${CMAKE_INSTALL_${folder}}")
endforeach()
configure_file(cmake/converter.pc.in "${PROJECT_BINARY_DIR}/converter.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/ConverterConfig.cmake" "${PROJECT_BINARY_DIR}/ConverterConfigVersion.cmake"
  DESTINATION "${OX_PACKAGE_FOLDER}" COMPONENT library)
install(FILES "${PROJECT_BINARY_DIR}/converter.pc" DESTINATION "${OX_PKGCONFIG_FOLDER}" COMPONENT library)

install(CODE "foreach(folder IN LISTS OX_MISSING)
    if(IS_DIRECTORY \"\${folder}\")
      file(CHMOD \"\${folder}\" PERMISSIONS \${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
    endif()
  endforeach()" ALL_COMPONENTS)

include(OxPackage)
