# What `cmake --install` puts where, and the packages that cpack makes of it.

set(CMAKE_INSTALL_DOCDIR share/doc/converter CACHE PATH "Where the documents are installed")
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(OX_HEADERS_FOLDER "${CMAKE_INSTALL_INCLUDEDIR}/converter")
set(OX_PACKAGE_FOLDER "${CMAKE_INSTALL_LIBDIR}/cmake/Converter")
set(OX_LIBRARIES ox_posix ox_foundation ox_text ox_storage ox_signing ox_xml)

install(TARGETS Converter RUNTIME COMPONENT tool)
install(FILES Packaging/Converter.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tool)
install(FILES Packaging/completions/Converter.bash RENAME Converter
  DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT tool)
# zsh looks into one folder below /usr/local, and on Debian into another one for what packages bring.
install(FILES Packaging/completions/_Converter
  DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" COMPONENT site)
install(FILES Packaging/completions/_Converter
  DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions" COMPONENT tool EXCLUDE_FROM_ALL)
install(FILES README.md TYPE DOC COMPONENT tool)
install(DIRECTORY Docs TYPE DOC COMPONENT tool FILES_MATCHING PATTERN "*.md" PATTERN "*.svg")

# Programs that verify link the tables too; as objects they could not be installed.
add_library(ox_builtin_trust STATIC $<TARGET_OBJECTS:ox_trust>)
set_target_properties(ox_builtin_trust PROPERTIES LINKER_LANGUAGE CXX)

# What installing and packaging need; the tests and benchmarks may stay unbuilt.
add_custom_target(ox_installed DEPENDS Converter ox_builtin_trust ${OX_LIBRARIES})
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

install(TARGETS ${OX_LIBRARIES} ox_builtin_trust EXPORT ConverterTargets ARCHIVE COMPONENT library)
install(DIRECTORY Core/Source/ Converter/Source/Utilities DESTINATION "${OX_HEADERS_FOLDER}" COMPONENT library
  FILES_MATCHING PATTERN "*.h")
install(EXPORT ConverterTargets NAMESPACE Converter:: DESTINATION "${OX_PACKAGE_FOLDER}" COMPONENT library)
configure_package_config_file(cmake/ConverterConfig.cmake.in "${CMAKE_BINARY_DIR}/ConverterConfig.cmake"
  INSTALL_DESTINATION "${OX_PACKAGE_FOLDER}")
write_basic_package_version_file("${CMAKE_BINARY_DIR}/ConverterConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
# The tree may be moved: `cmake --install` and packages choose other prefixes than configuring did.
file(RELATIVE_PATH OX_PREFIX_FROM_PC "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/converter.pc.in "${CMAKE_BINARY_DIR}/converter.pc" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/ConverterConfig.cmake" "${CMAKE_BINARY_DIR}/ConverterConfigVersion.cmake"
  DESTINATION "${OX_PACKAGE_FOLDER}" COMPONENT library)
install(FILES "${CMAKE_BINARY_DIR}/converter.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT library)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME converter)
set(CPACK_PACKAGE_CONTACT "The Converter maintainers <maintainers@converter.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "packages, signs and verifies desktop widgets")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL tool library)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME converter)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME converter-dev)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libssl-dev (>= 3.0), libicu-dev (>= 66)")
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "Headers and static libraries to read archives and verify signatures with.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)
include(CPack)
