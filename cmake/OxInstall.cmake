# What `cmake --install` puts where, and the packages that cpack makes of it.

include(CMakePackageConfigHelpers)

if("$CACHE{CMAKE_INSTALL_DOCDIR}" STREQUAL "")
  set(CMAKE_INSTALL_DOCDIR "${CMAKE_INSTALL_DATAROOTDIR}/doc/converter")
endif()
set(OX_HEADERS_FOLDER "${CMAKE_INSTALL_INCLUDEDIR}/converter")
set(OX_PACKAGE_FOLDER "${CMAKE_INSTALL_LIBDIR}/cmake/Converter")
set(OX_PKGCONFIG_FOLDER "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
set(OX_COMPLETIONS_FOLDER "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")

# Uninstalling removes the folders that installing made, so they are noted before it begins.
set(OX_FOLDERS "${CMAKE_INSTALL_BINDIR}" "${CMAKE_INSTALL_MANDIR}/man1" "${OX_COMPLETIONS_FOLDER}"
  "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions"
  "${CMAKE_INSTALL_DOCDIR}/Docs" "${OX_HEADERS_FOLDER}" "${OX_PACKAGE_FOLDER}" "${OX_PKGCONFIG_FOLDER}")
install(CODE "set(OX_FOLDERS \"${OX_FOLDERS}\")
  set(OX_NOTES \"${PROJECT_BINARY_DIR}/install_folders.txt\")
  include(\"${PROJECT_SOURCE_DIR}/cmake/NoteFolders.cmake\")" ALL_COMPONENTS)
if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(uninstall
    COMMAND "${CMAKE_COMMAND}" "-DBUILD=${PROJECT_BINARY_DIR}" -P "${PROJECT_SOURCE_DIR}/cmake/Uninstall.cmake"
    COMMENT "Removing what was installed from here" VERBATIM)
endif()

install(TARGETS Converter RUNTIME COMPONENT tool)
install(FILES Packaging/Converter.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tool)
install(FILES Packaging/completions/Converter.bash RENAME Converter
  DESTINATION "${OX_COMPLETIONS_FOLDER}" COMPONENT tool)
# zsh looks into one folder below /usr/local, and on Debian into another one for what packages bring.
install(FILES Packaging/completions/_Converter
  DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" COMPONENT site)
install(FILES Packaging/completions/_Converter
  DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions" COMPONENT tool EXCLUDE_FROM_ALL)
install(FILES README.md TYPE DOC COMPONENT tool)
install(DIRECTORY Docs TYPE DOC COMPONENT tool FILES_MATCHING PATTERN "*.md" PATTERN "*.svg")

# What installing and packaging need; the tests and benchmarks may stay unbuilt.
add_custom_target(ox_installed DEPENDS Converter ox_builtin_trust ${OX_LIBRARIES})
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

install(TARGETS ${OX_LIBRARIES} ox_builtin_trust ox_all EXPORT ConverterTargets ARCHIVE COMPONENT library)
install(DIRECTORY Core/Source/ Converter/Source/Utilities DESTINATION "${OX_HEADERS_FOLDER}" COMPONENT library
  FILES_MATCHING PATTERN "*.h")
install(EXPORT ConverterTargets NAMESPACE Converter:: DESTINATION "${OX_PACKAGE_FOLDER}" COMPONENT library)
list(JOIN OX_LIBRARIES " " OX_COMPONENTS)
configure_package_config_file(cmake/ConverterConfig.cmake.in "${PROJECT_BINARY_DIR}/ConverterConfig.cmake"
  INSTALL_DESTINATION "${OX_PACKAGE_FOLDER}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/ConverterConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
# The tree may be moved: `cmake --install` and packages choose other prefixes than configuring did. Folders that are
# given as absolute paths stay.
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

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME converter)
set(CPACK_PACKAGE_CONTACT "The Converter maintainers <maintainers@converter.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "packages, signs and verifies desktop widgets")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL tool library)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME converter)
# The program loads these itself, so its file does not name them; their numbers are those that it was compiled for.
string(REGEX MATCH "^[0-9]+" OX_ICU_MAJOR "${ICU_VERSION}")
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "libssl3 | libssl3t64, libicu${OX_ICU_MAJOR}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME converter-dev)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libssl-dev (>= 3.0), libicu-dev (>= 66)")
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "Headers and static libraries to read archives and verify signatures with.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)
if(PROJECT_IS_TOP_LEVEL)
  include(CPack)
endif()
