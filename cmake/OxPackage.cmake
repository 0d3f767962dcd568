# The Debian packages that cpack makes: the tool's and the library's.

# ox_install_compressed(source folder name component)
# Installs the compressed file `source` as `folder`/`name`.gz, in packages only.
function(ox_install_compressed source folder name component)
  find_program(OX_GZIP gzip)
  if(OX_GZIP)
    set(compressed "${PROJECT_BINARY_DIR}/packaging/${component}/${name}.gz")
    file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/packaging/${component}")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${source}")
    execute_process(COMMAND "${OX_GZIP}" --best --no-name --stdout "${PROJECT_SOURCE_DIR}/${source}"
      OUTPUT_FILE "${compressed}" COMMAND_ERROR_IS_FATAL ANY)
    install(FILES "${compressed}" DESTINATION "${folder}" COMPONENT ${component} EXCLUDE_FROM_ALL)
  endif()
endfunction()

ox_install_compressed(Packaging/Converter.1 "${CMAKE_INSTALL_MANDIR}/man1" Converter.1 tool)
foreach(package tool:converter library:converter-dev)
  string(REPLACE ":" ";" package "${package}")
  list(POP_FRONT package component)
  set(folder "${CMAKE_INSTALL_DATAROOTDIR}/doc/${package}")
  ox_install_compressed(Packaging/debian/changelog "${folder}" changelog ${component})
  install(FILES Packaging/debian/copyright DESTINATION "${folder}" COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME converter)
set(CPACK_PACKAGE_CONTACT "The Converter maintainers <maintainers@converter.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/OpenFolders.cmake")
set(CPACK_COMPONENTS_ALL tool library)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME converter)
set(CPACK_DEBIAN_TOOL_DESCRIPTION "packages, signs and verifies desktop widgets
Converter flattens a widget bundle, a folder with a description, images and
scripts, into one archive file, lists such an archive and turns it back into
a bundle. It signs files with an RSA key and an X.509 certificate, and
verifies them with the certificate authorities that are built into it.")
# The program loads these libraries itself, so the packager's tools cannot find them in its file. It needs the versions
# that it was compiled for.
string(REGEX MATCH "^[0-9]+" OX_ICU_MAJOR "${ICU_VERSION}")
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "libssl3 | libssl3t64, libicu${OX_ICU_MAJOR}")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME converter-dev)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libssl-dev (>= 3.0), libicu-dev (>= 66)")
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "packages, signs and verifies desktop widgets - development files
Headers and static libraries for programs that read and write flat archives,
parse widget descriptions, and sign and verify files as Converter does.
CMake finds them as Converter, pkg-config as converter.")
if(PROJECT_IS_TOP_LEVEL)
  include(CPack)
endif()
